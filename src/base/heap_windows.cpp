// Allocates with GlobalAlloc, as the host and its other modules do.
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
