#include <array>
#include <cstring>
#if defined(__ARM_FEATURE_CRC32)
#include <arm_acle.h>
#endif

#include <DataStorage/interfaces/detail/crc32c.h>
#include <DataStorage/interfaces/detail/littleendian.h>

namespace {

using Bytes = std::span<const unsigned char>;

constexpr std::size_t Slices = 8;
using Tables = std::array<std::array<std::uint32_t, 256>, Slices>;

/// Table k has the checksum of each byte with k zero bytes after it.
constexpr Tables MakeTables() {
  constexpr std::uint32_t polynomial = 0x82F63B78;  // with the lowest power in the highest bit
  Tables tables{};
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    std::uint32_t crc = byte;
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1U) != 0 ? polynomial : 0);
    tables[0][byte] = crc;
  }
  for (std::size_t k = 1; k < Slices; ++k) {
    for (std::size_t byte = 0; byte < 256; ++byte) {
      const std::uint32_t crc = tables[k - 1][byte];
      tables[k][byte] = (crc >> 8) ^ tables[0][crc & 0xFFU];
    }
  }
  return tables;
}

constexpr Tables tables = MakeTables();

std::uint32_t ByTables(Bytes bytes, std::uint32_t crc) {
  for (; bytes.size() >= Slices; bytes = bytes.subspan(Slices)) {
    const std::uint32_t low = crc ^ detail::LoadLittleEndian<std::uint32_t>(bytes.data());
    const std::uint32_t high = detail::LoadLittleEndian<std::uint32_t>(bytes.data() + 4);
    crc = 0;
    for (std::size_t k = 0; k < 4; ++k) {
      crc ^= tables[Slices - 1 - k][(low >> (8 * k)) & 0xFFU] ^ tables[3 - k][(high >> (8 * k)) & 0xFFU];
    }
  }
  for (const unsigned char byte : bytes) crc = (crc >> 8) ^ tables[0][(crc ^ byte) & 0xFFU];
  return crc;
}

#if defined(__x86_64__)
[[gnu::target("sse4.2")]] std::uint32_t ByInstruction(Bytes bytes, std::uint32_t before) {
  std::uint64_t crc = before;
  for (; bytes.size() >= 8; bytes = bytes.subspan(8)) {
    std::uint64_t word;
    std::memcpy(&word, bytes.data(), sizeof word);
    crc = __builtin_ia32_crc32di(crc, word);
  }
  auto short_crc = static_cast<std::uint32_t>(crc);
  for (const unsigned char byte : bytes) short_crc = __builtin_ia32_crc32qi(short_crc, byte);
  return short_crc;
}

bool bHasInstruction() { return __builtin_cpu_supports("sse4.2") != 0; }
#elif defined(__ARM_FEATURE_CRC32)
std::uint32_t ByInstruction(Bytes bytes, std::uint32_t crc) {
  for (; bytes.size() >= 8; bytes = bytes.subspan(8)) {
    crc = __crc32cd(crc, detail::LoadLittleEndian<std::uint64_t>(bytes.data()));
  }
  for (const unsigned char byte : bytes) crc = __crc32cb(crc, byte);
  return crc;
}

constexpr bool bHasInstruction() { return true; }
#else
std::uint32_t ByInstruction(Bytes bytes, std::uint32_t crc) { return ByTables(bytes, crc); }

constexpr bool bHasInstruction() { return false; }
#endif

}  // namespace

std::uint32_t detail::Crc32c(Bytes bytes, std::uint32_t before) {
  return bHasInstruction() ? ~ByInstruction(bytes, ~before) : Crc32cByTables(bytes, before);
}

std::uint32_t detail::Crc32cByTables(Bytes bytes, std::uint32_t before) { return ~ByTables(bytes, ~before); }
