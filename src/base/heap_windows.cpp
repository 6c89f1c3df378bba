// Heap blocks from the process's global heap, where the host and its other modules expect them.
#include <windows.h>

#include "base/heap.h"

namespace pixelforge {

void* AllocateHeapBlock(std::size_t bytes) noexcept {
    return GlobalAlloc(GPTR, bytes);
}

void ReleaseHeapBlock(void* block) noexcept {
    if (block) {
        GlobalFree(block);
    }
}

}  // namespace pixelforge
