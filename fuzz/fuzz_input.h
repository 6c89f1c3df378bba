// What the fuzz targets share: taking an input apart, and stopping at a broken promise.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "base/heap.h"

namespace pixelforge::fuzz {

/// What a target defines: it holds the code against its promises on one input.
void TryInput(std::string_view input);

/// A broken promise ends the program, which is how libFuzzer learns of it.
inline void Require(bool kept, const char* promise) {
    if (!kept) {
        std::fprintf(stderr, "Broken: %s\n", promise);
        std::abort();
    }
}

/// A block of exactly the bytes and a NUL, so that a read behind it is seen by the sanitizers.
inline HeapText ExactText(std::string_view bytes) {
    HeapText text = AllocateHeapText(bytes.size() + 1);
    bytes.copy(text.get(), bytes.size());
    return text;
}

/// Takes the first byte off the input; 0 when nothing is left.
inline std::uint8_t TakeByte(std::string_view& input) {
    const char byte = input.empty() ? '\0' : input.front();
    input.remove_prefix(input.empty() ? 0 : 1);
    return static_cast<std::uint8_t>(byte);
}

/// Takes everything up to the next NUL off the input, and the NUL as well.
inline std::string_view TakeText(std::string_view& input) {
    const std::string_view text = input.substr(0, input.find('\0'));
    input.remove_prefix(std::min(input.size(), text.size() + 1));
    return text;
}

}  // namespace pixelforge::fuzz
