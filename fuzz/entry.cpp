#include "targets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t n) {
  return FUZZ_FUNCTION(bytes, n);
}
