// The preprocessor's output: an array on the global heap that grows by doubling.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/heap.h"

namespace pixelforge {

struct GrowBuffer {
    HeapBytes data;
    std::uint32_t count = 0;     ///< elements in use
    std::uint32_t capacity = 0;  ///< elements that fit
    std::uint32_t elementSize = 1;

    /// Appends `added` elements of `elementSize` bytes. While they exceed the capacity, the block is
    /// replaced by one for max(2 * capacity, max(capacity + 1, 1024)) elements. False, with the elements
    /// as they were, when that cannot be allocated.
    bool Append(const void* elements, std::size_t added) noexcept;
};

}  // namespace pixelforge
