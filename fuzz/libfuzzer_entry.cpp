// The libFuzzer entry point.
#include "fuzz/fuzz_input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    pixelforge::fuzz::TryInput({reinterpret_cast<const char*>(data), size});
    return 0;
}
