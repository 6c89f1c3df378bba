// The camera that all instances share, and its 1280 x 720 picture.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace pixelforge {

inline constexpr std::int32_t kWebcamWidth = 1280;  ///< pixels of the picture that shaders sample
inline constexpr std::int32_t kWebcamHeight = 720;

/// Called when a shader with a webcam channel loads; the first call opens the camera. The picture starts
/// black and exists even if the camera fails. False if it cannot be created.
bool LoadWebcam();

/// Called once per rendered frame of a shader with a webcam channel. Every 16th call, over all instances,
/// updates the picture from the camera. Returns the picture's version: a renderer whose texture holds another
/// version must upload the picture.
std::uint32_t GrabWebcamFrame();

/// Rows of 1280 BGRA pixels, bottom-up; null before `LoadWebcam` has succeeded.
const std::uint8_t* WebcamPixels() noexcept;

/// Releases camera and picture; a later load reopens the camera. Must not be called during process detach:
/// waiting for the graph's threads would deadlock.
void UnloadWebcam();

/// Source and destination of a stretch, in pixels. The source starts at the snapshot's first row in memory;
/// `top` counts from the picture's upper edge.
struct WebcamStretch {
    std::int32_t sourceWidth;
    std::int32_t sourceHeight;
    std::int32_t top;
    std::int32_t width;
    std::int32_t height;
};

/// Snapshots are packed DIBs: a header of this size directly followed by the pixels.
inline constexpr std::size_t kPackedHeaderBytes = 40;

/// Maps a snapshot to the picture. The snapshot's first 640 x 480 pixels in memory fill the picture; a
/// smaller one fills its share, at the bottom if bottom-up and at the top if top-down. `std::nullopt` if the
/// block is smaller than its header claims or its pixels are not uncompressed 16, 24 or 32 bits.
std::optional<WebcamStretch> PlanWebcamStretch(std::span<const std::byte> block) noexcept;

}  // namespace pixelforge
