// Tiling: computes column coordinates once per strip and row coordinates once per row, then gathers each row.
#include "post/tile_remap.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <limits>

#include "post/vector_path.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace pixelforge {
namespace {

/// Columns processed at a time; their source columns fit on the stack.
constexpr std::int32_t kStripColumns = 4096;

constexpr std::size_t kPixelBytes = sizeof(std::uint32_t);

std::int32_t TruncateSaturated(float value) noexcept {
    constexpr float kLimit = 2147483648.0F;
    if (value >= kLimit) {
        return std::numeric_limits<std::int32_t>::max();
    }
    if (value < -kLimit) {
        return std::numeric_limits<std::int32_t>::min();
    }
    return static_cast<std::int32_t>(value);
}

/// Maps a position to 0 .. size - 1 by mirrored repetition.
std::int32_t FoldMirrored(std::int32_t position, std::int32_t size) noexcept {
    if (position >= 0 && position < size) {
        return position;
    }
    const std::int64_t distance = position < 0 ? -std::int64_t{position} : std::int64_t{position};
    const auto rest = static_cast<std::int32_t>(distance % size);
    return distance / size % 2 != 0 ? size - 1 - rest : rest;
}

/// One direction of the grid. Every step is a separately rounded single-precision operation: order and
/// rounding decide which source pixel is nearest.
class TileAxis {
public:
    TileAxis(std::int32_t outputSize, std::int32_t tiles, std::int32_t frameSize, std::int32_t sourceSize,
             bool flipOdd) noexcept
        : tileSize_(static_cast<float>(outputSize) / static_cast<float>(tiles)),
          frameSize_(static_cast<float>(frameSize)),
          sourceSize_(sourceSize),
          flipOdd_(flipOdd) {}

    /// The source column (or row) for an output column (or row).
    std::int32_t SourceIndex(std::int32_t position) const noexcept {
        const float inTiles = static_cast<float>(position) / tileSize_;
        const std::int32_t tile = TruncateSaturated(inTiles);
        // Exact: floats of 2^24 and above are integers, and no position lies beyond the last tile.
        const float fraction = inTiles - static_cast<float>(tile);
        // The mirrored case rounds twice, after the product and after the sum; it must not be fused.
        const bool mirrored = flipOdd_ && tile % 2 != 0;
        const float inside = mirrored ? -fraction * tileSize_ + tileSize_ : fraction * tileSize_;
        return FoldMirrored(TruncateSaturated(inside * frameSize_ / tileSize_ + 0.5F), sourceSize_);
    }

private:
    float tileSize_;  ///< output pixels, often fractional
    float frameSize_;
    std::int32_t sourceSize_;
    bool flipOdd_;
};

std::uint32_t LoadPixel(const std::byte* row, std::int32_t column) noexcept {
    std::uint32_t pixel;
    std::memcpy(&pixel, row + static_cast<std::size_t>(column) * kPixelBytes, sizeof pixel);
    return pixel;
}

void GatherPortable(const std::byte* row, const std::int32_t* columns, std::size_t count,
                    std::byte* output) noexcept {
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t pixel = LoadPixel(row, columns[i]);
        std::memcpy(output + i * kPixelBytes, &pixel, sizeof pixel);
    }
}

void GatherSse2(const std::byte* row, const std::int32_t* columns, std::size_t count,
                std::byte* output) noexcept {
    using FourPixels [[gnu::vector_size(16)]] = std::uint32_t;
    std::size_t i = 0;
    for (; count - i >= 4; i += 4) {
        const FourPixels pixels = {LoadPixel(row, columns[i]), LoadPixel(row, columns[i + 1]),
                                   LoadPixel(row, columns[i + 2]), LoadPixel(row, columns[i + 3])};
        std::memcpy(output + i * kPixelBytes, &pixels, sizeof pixels);
    }
    GatherPortable(row, columns + i, count - i, output + i * kPixelBytes);
}

#if defined(__x86_64__)
PIXELFORGE_TARGET_AVX2 void GatherAvx2(const std::byte* row, const std::int32_t* columns, std::size_t count,
                                       std::byte* output) noexcept {
    std::size_t i = 0;
    for (; count - i >= 8; i += 8) {
        const __m256i indices = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(columns + i));
        const __m256i pixels =
            _mm256_i32gather_epi32(reinterpret_cast<const int*>(row), indices, kPixelBytes);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(output + i * kPixelBytes), pixels);
    }
    GatherPortable(row, columns + i, count - i, output + i * kPixelBytes);
}
#else
constexpr auto GatherAvx2 = GatherSse2;
#endif

using Gather = void (*)(const std::byte*, const std::int32_t*, std::size_t, std::byte*) noexcept;

Gather ChooseGather(VectorPath path) noexcept {
    switch (path) {
        case VectorPath::Avx2:
            return GatherAvx2;
        case VectorPath::Sse2:
            return GatherSse2;
        case VectorPath::Portable:
            break;
    }
    return GatherPortable;
}

std::size_t RowBytes(std::int32_t width) noexcept {
    return static_cast<std::size_t>(width) * kPixelBytes;
}

bool HasPixels(const void* bits, std::int32_t width, std::int32_t height) noexcept {
    return bits && width >= 1 && height >= 1;
}

}  // namespace

std::int32_t TileRemap(const PixelView& destination, const ConstPixelView& source, const TileGrid& grid,
                       VectorPath path) noexcept {
    if (!HasPixels(destination.bits, destination.width, destination.height) ||
        !HasPixels(source.bits, source.width, source.height) || grid.tilesX < 1 || grid.tilesY < 1) {
        return 0;
    }
    const bool flip = grid.flipOddTiles != 0;
    const TileAxis across(destination.width, grid.tilesX, grid.frameWidth, source.width, flip);
    const TileAxis down(destination.height, grid.tilesY, grid.frameHeight, source.height, flip);
    const Gather gather = ChooseGather(path);
    std::array<std::int32_t, kStripColumns> columns;
    for (std::int32_t left = 0, width = 0; left < destination.width; left += width) {
        width = std::min(destination.width - left, kStripColumns);
        for (std::int32_t x = 0; x < width; ++x) {
            columns[static_cast<std::size_t>(x)] = across.SourceIndex(left + x);
        }
        auto* top = static_cast<std::byte*>(destination.bits) + RowBytes(left);
        for (std::int32_t y = 0; y < destination.height; ++y) {
            const auto sourceRow = static_cast<std::size_t>(down.SourceIndex(y));
            const auto* row = static_cast<const std::byte*>(source.bits) + sourceRow * RowBytes(source.width);
            gather(row, columns.data(), static_cast<std::size_t>(width),
                   top + static_cast<std::size_t>(y) * RowBytes(destination.width));
        }
    }
    return 1;
}

}  // namespace pixelforge
