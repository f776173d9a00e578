#pragma once

#include <cstdint>
#include <span>

namespace detail {

/// The CRC-32C (Castagnoli polynomial, as in iSCSI, RFC 3720) of bytes that follow others with the checksum
/// `before`. That of "123456789" is E3069283 hexadecimal.
std::uint32_t Crc32c(std::span<const unsigned char> bytes, std::uint32_t before = 0);

/// The same without the processor's instruction.
std::uint32_t Crc32cByTables(std::span<const unsigned char> bytes, std::uint32_t before = 0);

}  // namespace detail
