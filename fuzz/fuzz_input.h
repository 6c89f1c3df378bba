// What the fuzz targets share: taking an input apart, and stopping at a broken promise.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "base/heap.h"

namespace pixelforge::fuzz {

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

/// Takes an input apart from its front.
class InputReader {
public:
    InputReader(const std::uint8_t* data, std::size_t size)
        : rest_(reinterpret_cast<const char*>(data), size) {}

    /// 0 when nothing is left.
    std::uint8_t Byte() {
        const auto byte = rest_.empty() ? std::uint8_t{0} : static_cast<std::uint8_t>(rest_.front());
        rest_.remove_prefix(std::min<std::size_t>(rest_.size(), 1));
        return byte;
    }

    /// Everything up to the next NUL, which is taken as well.
    std::string_view Text() {
        const std::string_view text = rest_.substr(0, rest_.find('\0'));
        rest_.remove_prefix(std::min(rest_.size(), text.size() + 1));
        return text;
    }

    std::string_view Rest() const { return rest_; }

private:
    std::string_view rest_;
};

}  // namespace pixelforge::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
