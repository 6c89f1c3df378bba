// The preprocessor's output: an array on the global heap that grows by doubling.
#pragma once

#include <cstdint>

#include "base/heap.h"

namespace pixelforge {

struct GrowBuffer {
    HeapBytes data;
    std::uint32_t count = 0;     ///< elements in use
    std::uint32_t capacity = 0;  ///< elements that fit
    std::uint32_t elementSize = 1;

    /// Appends one element of `elementSize` bytes. When count + 1 exceeds the capacity, the block is
    /// replaced by one for max(2 * capacity, max(capacity + 1, 1024)) elements. False, with the array as
    /// it was, when that cannot be allocated.
    bool Append(const void* element) noexcept;
};

}  // namespace pixelforge
