// J: tagged binary streams of one array, in memory.

#include <istream>
#include <ostream>
#include <streambuf>

#include "bench.h"
#include <DataStorage/arrays/parray1d.h>

namespace {

/// A stream in a block of memory.
class BlockBuffer : public std::streambuf {
 public:
  explicit BlockBuffer(std::int64_t bytes) : bytes_(bytes), block_(FilledBlock<char>(bytes)) { Rewind(); }
  void Rewind() {
    setp(block_.get(), block_.get() + bytes_);
    setg(block_.get(), block_.get(), block_.get() + bytes_);
  }

 private:
  std::int64_t bytes_;
  Block<char> block_;
};

struct TaggedArray {
  explicit TaggedArray(std::int64_t n)
      : array(static_cast<int>(n), dtyp_Float64), buffer(8 * n + 1024), stream(&buffer) {
    tgio_cBinary_ostream(stream).Write(array);
  }
  parr_c1DNumberArray array;
  BlockBuffer buffer;
  std::iostream stream;
};

void WriteTagged(benchmark::State& state, std::int64_t n) {
  TaggedArray tagged(n);
  for (auto _ : state) {
    tagged.buffer.Rewind();
    tgio_cBinary_ostream(tagged.stream).Write(tagged.array);
  }
  SetBytes(state, 2 * 8 * n);
}

void ReadTagged(benchmark::State& state, std::int64_t n) {
  TaggedArray tagged(n);
  for (auto _ : state) {
    tagged.buffer.Rewind();
    parr_c1DNumberArray array;
    tgio_cBinary_istream(tagged.stream).Read(array);
    benchmark::DoNotOptimize(array.Data());
  }
  SetBytes(state, 2 * 8 * n);
}

[[maybe_unused]] const bool registered = [] {
  for (const auto& [name, n] : sizes) {
    Register(std::string("J/write_tagged/") + name, "ours", WriteTagged, n);
    Register(std::string("J/write_tagged/") + name, "limit", Copy, 8 * n);
    Register(std::string("J/read_tagged/") + name, "ours", ReadTagged, n);
    Register(std::string("J/read_tagged/") + name, "limit", CopyIntoNewBlock, 8 * n, std::int64_t{0});
  }
  return true;
}();

}  // namespace
