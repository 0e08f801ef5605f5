// The libFuzzer entry point of one target; MANDOR_FUZZ_TARGET names the body
// (see fuzz_targets.h) and is set per executable by fuzz/CMakeLists.txt.
#include <cstddef>
#include <cstdint>

#include "fuzz/fuzz_targets.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  mandor::fuzz::MANDOR_FUZZ_TARGET(data, size);
  return 0;
}
