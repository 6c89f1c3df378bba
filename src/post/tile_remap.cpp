// Tiling: computes source columns once per strip and source rows once per row, and copies a row whose source
// row has just been made.
#include "post/tile_remap.h"

#include <emmintrin.h>

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace pixelforge {
namespace {

/// Columns processed at a time; their source columns fit on the stack.
constexpr std::int32_t kStripColumns = 4096;

/// The hardware prefetcher stops at page boundaries.
constexpr std::size_t kPrefetchBytes = 2048;

constexpr std::size_t kPixelBytes = sizeof(std::uint32_t);
constexpr std::size_t kGroupBytes = sizeof(__m128i);

std::int32_t TruncateSaturated(float value) noexcept {
    return static_cast<std::int32_t>(std::clamp(double{value}, -2147483648.0, 2147483647.0));
}

/// Maps a position to 0 .. size - 1 by mirrored repetition.
std::int32_t FoldMirrored(std::int32_t position, std::int32_t size) noexcept {
    const std::int64_t distance = position < 0 ? -std::int64_t{position} : std::int64_t{position};
    const auto rest = static_cast<std::int32_t>(distance % size);
    return distance / size % 2 != 0 ? size - 1 - rest : rest;
}

/// One direction of the grid.
struct TileAxis {
    std::int32_t outputSize;
    std::int32_t tiles;
    std::int32_t frameSize;
    std::int32_t sourceSize;
    bool flipOdd;
    float tileSize = static_cast<float>(outputSize) / static_cast<float>(tiles);  ///< often fractional

    /// The source column (or row) for an output column (or row). Every step is a separately rounded
    /// single-precision operation: order and rounding decide which source pixel is nearest.
    std::int32_t SourceIndex(std::int32_t position) const noexcept {
        const float inTiles = static_cast<float>(position) / tileSize;
        const std::int32_t tile = TruncateSaturated(inTiles);
        // Exact: floats of 2^24 and above are integers, and no position lies beyond the last tile.
        const float fraction = inTiles - static_cast<float>(tile);
        // The mirrored case rounds twice, after the product and after the sum; it must not be fused.
        const bool mirrored = flipOdd && tile % 2 != 0;
        const float inside = mirrored ? -fraction * tileSize + tileSize : fraction * tileSize;
        const float scaled = inside * static_cast<float>(frameSize) / tileSize;
        return FoldMirrored(TruncateSaturated(scaled + 0.5F), sourceSize);
    }
};

/// Pixels may have any alignment, so they are addressed as bytes.
template <class Byte>
Byte* At(Byte* pixels, std::size_t index) noexcept {
    return pixels + index * kPixelBytes;
}

__m128i LoadGroup(const std::byte* pixels) noexcept {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels));
}

void StoreGroup(std::byte* output, __m128i pixels) noexcept {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(output), pixels);
}

/// Copies every second of the 2 * `count` pixels in `row`; `count` is a multiple of 4.
void PickEverySecond(const std::byte* row, std::size_t count, std::byte* output) noexcept {
    for (std::size_t i = 0; i < count; i += 4) {
        const __m128 left = _mm_castsi128_ps(LoadGroup(At(row, 2 * i)));
        const __m128 right = _mm_castsi128_ps(LoadGroup(At(row, 2 * i + 4)));
        StoreGroup(At(output, i), _mm_castps_si128(_mm_shuffle_ps(left, right, 0b10'00'10'00)));
    }
}

/// Copies the pixels in `columns` of `row` next to each other. Reads two column numbers per load, because
/// loads limit the speed.
void PickPixels(const std::byte* row, const std::uint32_t* columns, std::size_t count,
                std::byte* output) noexcept {
    const auto pair = [=](std::size_t i) {
        std::uint64_t both;
        std::memcpy(&both, columns + i, sizeof both);
        return _mm_unpacklo_epi32(_mm_loadu_si32(At(row, both & 0xFFFFFFFF)),
                                  _mm_loadu_si32(At(row, both >> 32)));
    };
    std::size_t i = 0;
    for (; count - i >= 4; i += 4) {
        __builtin_prefetch(At(row, columns[i]) + kPrefetchBytes);
        const __m128i pixels = _mm_unpacklo_epi64(pair(i), pair(i + 2));
        StoreGroup(At(output, i), pixels);
    }
    for (; i < count; ++i) {
        std::memcpy(At(output, i), At(row, columns[i]), kPixelBytes);
    }
}

/// Copies the `count` pixels before `end`, last one first.
void CopyReversed(const std::byte* end, std::size_t count, std::byte* output) noexcept {
    for (; count >= 4; count -= 4, output += kGroupBytes) {
        end -= kGroupBytes;
        StoreGroup(output, _mm_shuffle_epi32(LoadGroup(end), 0b00'01'10'11));
    }
    for (; count > 0; --count, output += kPixelBytes) {
        end -= kPixelBytes;
        std::memcpy(output, end, kPixelBytes);
    }
}

/// Bypasses the cache, which would first read the old contents of `output`. Only the ends of `output` that do
/// not fill an aligned group go through it.
void StreamPixels(const std::byte* from, std::size_t count, std::byte* output) noexcept {
    const std::size_t bytes = count * kPixelBytes;
    std::size_t i = std::min<std::size_t>(bytes, -reinterpret_cast<std::uintptr_t>(output) % kGroupBytes);
    std::memcpy(output, from, i);
    for (; bytes - i >= kGroupBytes; i += kGroupBytes) {
        _mm_stream_si128(reinterpret_cast<__m128i*>(output + i), LoadGroup(from + i));
    }
    std::memcpy(output + i, from + i, bytes - i);
}

/// The source columns of a strip of the output. From tile to tile they mostly repeat, in mirrored tiles in
/// reverse, but rounding may shift a tile's edges. So repetition is detected in the columns, not assumed.
struct Strip {
    Strip(const TileAxis& across, std::int32_t left, std::int32_t columnCount) noexcept
        : width(static_cast<std::size_t>(columnCount)) {
        for (std::size_t x = 0; x < width; ++x) {
            const std::int32_t column = across.SourceIndex(left + static_cast<std::int32_t>(x));
            columns[x] = static_cast<std::uint32_t>(column);
        }
        const auto tile = static_cast<std::size_t>(std::max(across.outputSize / across.tiles, 1));
        // The first column of a mirrored tile has no counterpart.
        picked = std::min(width, across.flipOdd ? tile + 1 : tile);
        period = std::min(width, across.flipOdd ? 2 * tile : tile);
        std::size_t same = picked;
        while (same < width && columns[same] == columns[same < period ? 2 * tile - same : same - period]) {
            ++same;
        }
        if (same < width) {
            picked = period = width;
        }
        const auto apart = [this](std::uint32_t distance) {
            const auto differs = [=](auto column, auto next) { return next != column + distance; };
            const auto* const end = std::adjacent_find(columns, columns + picked, differs);
            return std::min(picked, static_cast<std::size_t>(end - columns) + 1);
        };
        consecutive = apart(1) == picked;
        // Without the last one, which may be at the end of its row: `PickEverySecond` reads one pixel more.
        everySecond = (apart(2) - 1) / 4 * 4;
    }

    /// Writes the strip's part of one output row.
    void MakeRow(const std::byte* sourceRow, std::byte* output) const noexcept {
        if (consecutive) {
            std::memcpy(output, At(sourceRow, columns[0]), picked * kPixelBytes);
        } else {
            PickEverySecond(At(sourceRow, columns[0]), everySecond, output);
            PickPixels(sourceRow, columns + everySecond, picked - everySecond, At(output, everySecond));
        }
        CopyReversed(At(output, picked - 1), period - picked, At(output, picked));
        for (std::size_t made = period; made < width; made *= 2) {
            std::memcpy(At(output, made), output, std::min(made, width - made) * kPixelBytes);
        }
    }

    std::uint32_t columns[kStripColumns];
    std::size_t width;
    std::size_t picked;  ///< columns; those from here to `period` mirror the ones before, except the last
    std::size_t period;  ///< columns after which the strip repeats
    std::size_t everySecond;  ///< leading columns that are two apart in the source, as with two tiles across
    bool consecutive;         ///< the picked columns lie side by side in the source
};

/// Visits every row once. Walks the tile rows side by side, mirrored ones from their ends, so that rows with
/// the same source row mostly follow one another.
template <class Visit>
void VisitRows(const TileAxis& down, const Visit& visit) noexcept {
    const std::int64_t height = down.outputSize;
    const std::int64_t tiles = std::min(down.tiles, down.outputSize);
    const auto firstRow = [=](std::int64_t tile) { return (tile * height + tiles - 1) / tiles; };
    for (std::int64_t step = 0; step <= height / tiles + 1; ++step) {
        for (std::int64_t tile = 0; tile < tiles; ++tile) {
            const std::int64_t first = firstRow(tile);
            const std::int64_t end = firstRow(tile + 1);
            const std::int64_t row = down.flipOdd && tile % 2 != 0 ? end - step : first + step;
            if (row >= first && row < end) {
                visit(static_cast<std::int32_t>(row));
            }
        }
    }
}

void RemapStrip(const Strip& strip, const TileAxis& down, const ConstPixelView& source, std::byte* output,
                std::size_t outputWidth) noexcept {
    std::int32_t lastSourceRow = -1;
    const std::byte* lastRow = nullptr;
    VisitRows(down, [&](std::int32_t y) {
        const std::int32_t sourceRow = down.SourceIndex(y);
        std::byte* const row = At(output, static_cast<std::size_t>(y) * outputWidth);
        if (sourceRow == lastSourceRow) {
            StreamPixels(lastRow, strip.width, row);
            return;
        }
        const auto sourcePixel = static_cast<std::size_t>(sourceRow) * static_cast<std::size_t>(source.width);
        strip.MakeRow(At(static_cast<const std::byte*>(source.bits), sourcePixel), row);
        lastSourceRow = sourceRow;
        lastRow = row;
    });
}

bool HasPixels(const void* bits, std::int32_t width, std::int32_t height) noexcept {
    return bits && width >= 1 && height >= 1;
}

}  // namespace

std::int32_t TileRemap(const PixelView& destination, const ConstPixelView& source,
                       const TileGrid& grid) noexcept {
    if (!HasPixels(destination.bits, destination.width, destination.height) ||
        !HasPixels(source.bits, source.width, source.height) || grid.tilesX < 1 || grid.tilesY < 1) {
        return 0;
    }
    const bool flip = grid.flipOddTiles != 0;
    const TileAxis across = {destination.width, grid.tilesX, grid.frameWidth, source.width, flip};
    const TileAxis down = {destination.height, grid.tilesY, grid.frameHeight, source.height, flip};
    for (std::int32_t left = 0, width = 0; left < destination.width; left += width) {
        width = std::min(destination.width - left, kStripColumns);
        RemapStrip(Strip(across, left, width), down, source,
                   At(static_cast<std::byte*>(destination.bits), static_cast<std::size_t>(left)),
                   static_cast<std::size_t>(destination.width));
    }
    _mm_sfence();  // orders the streamed pixels before what the caller writes next
    return 1;
}

}  // namespace pixelforge
