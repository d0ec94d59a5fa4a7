// The frame of one fuzzer; VARNEL_FUZZ_TARGET names the function that it runs.
#include "fuzz/FuzzTargets.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    varnel::fuzzing::VARNEL_FUZZ_TARGET({reinterpret_cast<const char*>(data), size});
    return 0;
}
