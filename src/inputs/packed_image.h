// Video renderer snapshots: packed DIBs, a bitmap header directly followed by the pixels.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace pixelforge {

inline constexpr std::int32_t kWebcamWidth = 1280;  ///< pixels of the picture that shaders sample
inline constexpr std::int32_t kWebcamHeight = 720;

/// Source and destination of a stretch, in pixels. The source starts at the snapshot's first row in memory;
/// `top` counts from the picture's upper edge.
struct WebcamStretch {
    std::int32_t sourceWidth;
    std::int32_t sourceHeight;
    std::int32_t top;
    std::int32_t width;
    std::int32_t height;
};

inline constexpr std::size_t kPackedHeaderBytes = 40;

/// Maps a snapshot to the picture. The snapshot's first 640 x 480 pixels in memory fill the picture; a
/// smaller one fills its share, at the bottom if bottom-up and at the top if top-down. `std::nullopt` if the
/// block is smaller than its header claims or its pixels are not uncompressed 16, 24 or 32 bits.
std::optional<WebcamStretch> PlanWebcamStretch(std::span<const std::byte> block) noexcept;

}  // namespace pixelforge
