// Tiling: computes source columns once per strip and source rows once per row, and copies a row whose source
// row has just been made.
#include "post/tile_remap.h"

#include <emmintrin.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <limits>

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

/// Copies the pixels in `columns` of `row` next to each other. Reads two columns with each load: loads are
/// what limits the speed.
void PickPixels(const std::byte* row, const std::int32_t* columns, std::size_t count,
                std::byte* output) noexcept {
    const auto pixel = [row](std::uint64_t column) { return _mm_loadu_si32(row + column * kPixelBytes); };
    const auto pair = [&](std::size_t i) {
        std::uint64_t both;
        std::memcpy(&both, columns + i, sizeof both);
        return _mm_unpacklo_epi32(pixel(both & 0xFFFFFFFF), pixel(both >> 32));
    };
    std::size_t i = 0;
    for (; count - i >= 4; i += 4) {
        const __m128i pixels = _mm_unpacklo_epi64(pair(i), pair(i + 2));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(output + i * kPixelBytes), pixels);
    }
    for (; i < count; ++i) {
        std::memcpy(output + i * kPixelBytes, row + static_cast<std::size_t>(columns[i]) * kPixelBytes,
                    kPixelBytes);
    }
}

/// Copies the `count` pixels before `end`, last one first.
void CopyReversed(const std::byte* end, std::size_t count, std::byte* output) noexcept {
    for (; count >= 4; count -= 4, output += sizeof(__m128i)) {
        end -= sizeof(__m128i);
        const __m128i pixels = _mm_loadu_si128(reinterpret_cast<const __m128i*>(end));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(output), _mm_shuffle_epi32(pixels, 0b00'01'10'11));
    }
    for (; count > 0; --count, output += kPixelBytes) {
        end -= kPixelBytes;
        std::memcpy(output, end, kPixelBytes);
    }
}

std::size_t RowBytes(std::int32_t width) noexcept {
    return static_cast<std::size_t>(width) * kPixelBytes;
}

/// The source columns of a strip of the output. Tiles across mostly repeat, mirrored ones in reverse, but not
/// where rounding places their edges differently: only what the columns themselves show is used.
class StripColumns {
public:
    /// `tileWidth`: whole output columns.
    StripColumns(const TileAxis& across, std::int32_t left, std::size_t width, std::size_t tileWidth,
                 bool flip) noexcept
        : width_(width), repeated_(width), picked_(width) {
        for (std::size_t x = 0; x < width; ++x) {
            columns_[x] = across.SourceIndex(left + static_cast<std::int32_t>(x));
        }
        const auto begin = columns_.begin();
        const std::size_t period = flip ? 2 * tileWidth : tileWidth;
        if (period < width && std::equal(begin + period, begin + width, begin)) {
            repeated_ = picked_ = period;
        }
        // The first column of a mirrored tile has no counterpart.
        const std::size_t mirrored = tileWidth + 1;
        if (flip && mirrored < repeated_ && repeated_ <= 2 * tileWidth &&
            std::equal(begin + mirrored, begin + repeated_, std::make_reverse_iterator(begin + tileWidth))) {
            picked_ = mirrored;
        }
        const auto isGap = [](std::int32_t column, std::int32_t next) { return next != column + 1; };
        consecutive_ = std::adjacent_find(begin, begin + picked_, isGap) == begin + picked_;
    }

    /// Writes the strip's part of one output row.
    void MakeRow(const std::byte* sourceRow, std::byte* output) const noexcept {
        const auto at = [output](std::size_t column) { return output + column * kPixelBytes; };
        if (consecutive_) {
            std::memcpy(output, sourceRow + RowBytes(columns_[0]), picked_ * kPixelBytes);
        } else {
            PickPixels(sourceRow, columns_.data(), picked_, output);
        }
        CopyReversed(at(picked_ - 1), repeated_ - picked_, at(picked_));
        for (std::size_t made = repeated_; made < width_; made *= 2) {
            std::memcpy(at(made), output, std::min(made, width_ - made) * kPixelBytes);
        }
    }

private:
    std::array<std::int32_t, kStripColumns> columns_;
    std::size_t width_;
    std::size_t repeated_;  ///< columns after which the strip repeats
    std::size_t picked_;    ///< the other repeated ones mirror these, except the last
    bool consecutive_;      ///< the picked columns lie side by side in the source
};

/// Visits every row once. Walks the tile rows side by side, mirrored ones from their ends, so that rows with
/// the same source row mostly follow one another.
template <class Visit>
void VisitRows(std::int32_t height, std::int32_t tilesY, bool flip, const Visit& visit) noexcept {
    const std::int64_t tiles = std::min(tilesY, height);
    const auto firstRow = [=](std::int64_t tile) { return (tile * height + tiles - 1) / tiles; };
    for (std::int64_t step = 0; step <= height / tiles + 1; ++step) {
        for (std::int64_t tile = 0; tile < tiles; ++tile) {
            const std::int64_t first = firstRow(tile);
            const std::int64_t end = firstRow(tile + 1);
            const std::int64_t row = flip && tile % 2 != 0 ? end - step : first + step;
            if (row >= first && row < end) {
                visit(static_cast<std::int32_t>(row));
            }
        }
    }
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
    const TileAxis across(destination.width, grid.tilesX, grid.frameWidth, source.width, flip);
    const TileAxis down(destination.height, grid.tilesY, grid.frameHeight, source.height, flip);
    const std::int32_t tileWidth = std::max(destination.width / grid.tilesX, 1);
    for (std::int32_t left = 0, width = 0; left < destination.width; left += width) {
        width = std::min(destination.width - left, kStripColumns);
        const StripColumns columns(across, left, static_cast<std::size_t>(width),
                                   static_cast<std::size_t>(tileWidth), flip);
        std::int32_t lastSourceRow = -1;
        const std::byte* lastRow = nullptr;
        VisitRows(destination.height, grid.tilesY, flip, [&](std::int32_t y) {
            const std::int32_t sourceRow = down.SourceIndex(y);
            auto* row = static_cast<std::byte*>(destination.bits) +
                        static_cast<std::size_t>(y) * RowBytes(destination.width) + RowBytes(left);
            if (sourceRow == lastSourceRow) {
                std::memcpy(row, lastRow, RowBytes(width));
                return;
            }
            columns.MakeRow(static_cast<const std::byte*>(source.bits) +
                                static_cast<std::size_t>(sourceRow) * RowBytes(source.width),
                            row);
            lastSourceRow = sourceRow;
            lastRow = row;
        });
    }
    return 1;
}

}  // namespace pixelforge
