// Snapshots of a video renderer: a bitmap header with the pixels right behind it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace pixelforge {

inline constexpr std::int32_t kWebcamWidth = 1280;  ///< pixels of the picture that shaders see
inline constexpr std::int32_t kWebcamHeight = 720;

/// Places in pixels, of the snapshot from its first row in memory, of the picture from its upper edge.
struct WebcamStretch {
    std::int32_t sourceWidth;
    std::int32_t sourceHeight;
    std::int32_t top;
    std::int32_t width;
    std::int32_t height;
};

inline constexpr std::size_t kPackedHeaderBytes = 40;

/// Where a snapshot goes in the picture. 640 x 480 pixels at its first row fill it; a smaller one fills its
/// part, below for a bottom-up and above for a top-down one. Nothing for a block that does not hold what its
/// header claims, and for pixels that are not plain colours of 16, 24 or 32 bits.
std::optional<WebcamStretch> PlanWebcamStretch(std::span<const std::byte> block) noexcept;

}  // namespace pixelforge
