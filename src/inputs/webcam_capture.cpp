// Validation and placement of snapshots.
#include "inputs/webcam_capture.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace pixelforge {
namespace {

constexpr std::int32_t kSourceWidth = 640;
constexpr std::int32_t kSourceHeight = 480;

/// The layout in memory.
struct PackedHeader {
    std::uint32_t size;
    std::int32_t width;
    std::int32_t height;  ///< negative: top-down
    std::uint16_t planes;
    std::uint16_t bitsPerPixel;
    std::uint32_t compression;  ///< 0: none
    std::uint32_t unread[5];
};
static_assert(sizeof(PackedHeader) == kPackedHeaderBytes);

bool IsPlain(const PackedHeader& header) noexcept {
    const bool depth = header.bitsPerPixel == 16 || header.bitsPerPixel == 24 || header.bitsPerPixel == 32;
    return header.size == kPackedHeaderBytes && header.compression == 0 && depth;
}

/// Rows are padded to 4 bytes. Divides instead of multiplying so that huge sizes cannot overflow.
bool FitsIn(std::size_t bytes, const PackedHeader& header) noexcept {
    const std::int64_t height = std::abs(std::int64_t{header.height});
    if (header.width < 1 || height < 1) {
        return false;
    }
    const std::uint64_t rowBytes =
        (static_cast<std::uint64_t>(header.width) * header.bitsPerPixel + 31) / 32 * 4;
    return (bytes - kPackedHeaderBytes) / rowBytes >= static_cast<std::uint64_t>(height);
}

}  // namespace

std::optional<WebcamStretch> PlanWebcamStretch(std::span<const std::byte> block) noexcept {
    PackedHeader header;
    if (block.size() < sizeof(header)) {
        return std::nullopt;
    }
    std::memcpy(&header, block.data(), sizeof(header));
    if (!IsPlain(header) || !FitsIn(block.size(), header)) {
        return std::nullopt;
    }
    WebcamStretch stretch = {};
    stretch.sourceWidth = std::min(header.width, kSourceWidth);
    stretch.sourceHeight = static_cast<std::int32_t>(
        std::min<std::int64_t>(std::abs(std::int64_t{header.height}), kSourceHeight));
    stretch.width = stretch.sourceWidth * kWebcamWidth / kSourceWidth;
    stretch.height = stretch.sourceHeight * kWebcamHeight / kSourceHeight;
    stretch.top = header.height > 0 ? kWebcamHeight - stretch.height : 0;
    return stretch;
}

}  // namespace pixelforge
