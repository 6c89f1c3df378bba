// Heap blocks of the native build.
#include <algorithm>
#include <cstdlib>

#include "base/heap.h"

namespace pixelforge {

void* AllocateHeapBlock(std::size_t bytes) noexcept {
    return std::calloc(std::max<std::size_t>(bytes, 1), 1);
}

void ReleaseHeapBlock(void* block) noexcept {
    std::free(block);
}

}  // namespace pixelforge
