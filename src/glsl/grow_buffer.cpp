// Appending to the preprocessor's output.
#include "glsl/grow_buffer.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace pixelforge {

namespace {

constexpr std::uint64_t kFirstCapacity = 1024;

bool Grow(GrowBuffer& buffer) noexcept {
    const std::uint64_t wanted = std::max(2 * std::uint64_t{buffer.capacity},
                                          std::max(buffer.capacity + std::uint64_t{1}, kFirstCapacity));
    if (wanted > std::numeric_limits<std::uint32_t>::max()) {
        return false;
    }
    HeapBytes block(static_cast<std::uint8_t*>(AllocateHeapBlock(wanted * buffer.elementSize)));
    if (!block) {
        return false;
    }
    if (buffer.count > 0) {
        std::memcpy(block.get(), buffer.data.get(), std::size_t{buffer.count} * buffer.elementSize);
    }
    buffer.data = std::move(block);
    buffer.capacity = static_cast<std::uint32_t>(wanted);
    return true;
}

}  // namespace

bool GrowBuffer::Append(const void* elements, std::size_t added) noexcept {
    while (capacity - count < added) {
        if (!Grow(*this)) {
            return false;
        }
    }
    std::memcpy(data.get() + std::size_t{count} * elementSize, elements, added * elementSize);
    count += static_cast<std::uint32_t>(added);
    return true;
}

}  // namespace pixelforge
