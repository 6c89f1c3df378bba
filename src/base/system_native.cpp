// Native stand-ins for bitmaps, the debugger output, the global heap and random numbers.
#include <sys/random.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/bitmap.h"
#include "base/debug_output.h"
#include "base/heap.h"
#include "base/random.h"
#include "base/text.h"

namespace pixelforge {

void BitmapTraits::Close(HBITMAP__*) noexcept {}

SectionPixels PixelsOf(HBITMAP__*) noexcept {
    return {};
}

void WriteDebugText(std::string_view text) noexcept {
    std::fwrite(text.data(), 1, text.size(), stderr);
}

void WriteDebugLine(std::string_view text) noexcept {
    std::fprintf(stderr, "Pixelforge: %s\n", WithoutControls(text).c_str());
}

void* AllocateHeapBlock(std::size_t bytes) noexcept {
    return std::calloc(std::max<std::size_t>(bytes, 1), 1);
}

void ReleaseHeapBlock(void* block) noexcept {
    std::free(block);
}

std::uint32_t SystemRandom() noexcept {
    unsigned char bytes[4] = {};
    if (getrandom(bytes, sizeof(bytes), 0) != static_cast<ssize_t>(sizeof(bytes))) {
        for (unsigned char& byte : bytes) {
            byte = static_cast<unsigned char>(std::rand());
        }
    }
    std::uint32_t number = 0;
    std::memcpy(&number, bytes, sizeof(number));
    return number;
}

}  // namespace pixelforge
