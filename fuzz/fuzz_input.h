// Helpers for fuzz targets: splitting the input, and aborting on a violated property.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "base/heap.h"

/// Each target defines this, which libFuzzer calls: checks the code's properties on one input.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace pixelforge::fuzz {

/// Aborts if the property does not hold; libFuzzer then reports the input.
inline void Require(bool holds, const char* property) {
    if (!holds) {
        std::fprintf(stderr, "Violated: %s\n", property);
        std::abort();
    }
}

/// A block of exactly these bytes and a NUL, so that the sanitizers catch reads past its end.
inline HeapText ExactText(std::string_view bytes) {
    HeapText text = AllocateHeapText(bytes.size() + 1);
    bytes.copy(text.get(), bytes.size());
    return text;
}

/// Removes and returns the first byte; 0 at the end of the input.
inline std::uint8_t TakeByte(std::string_view& input) {
    const char byte = input.empty() ? '\0' : input.front();
    input.remove_prefix(input.empty() ? 0 : 1);
    return static_cast<std::uint8_t>(byte);
}

/// Removes and returns the text up to the next NUL; the NUL is removed, too.
inline std::string_view TakeText(std::string_view& input) {
    const std::string_view text = input.substr(0, input.find('\0'));
    input.remove_prefix(std::min(input.size(), text.size() + 1));
    return text;
}

}  // namespace pixelforge::fuzz
