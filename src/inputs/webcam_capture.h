// The camera that all instances share, and its 1280 x 720 picture.
#pragma once

#include <cstdint>

#include "inputs/packed_image.h"

namespace pixelforge {

/// Called when a shader with a webcam channel loads; the first call opens the camera. The picture exists even
/// if the camera fails, and starts black; false if it cannot be created.
bool LoadWebcam();

/// Called once per rendered frame of a shader with a webcam channel. Every 16th call, over all instances,
/// updates the picture from the camera. Returns the picture's version: a renderer whose texture shows another
/// version must upload.
std::uint32_t GrabWebcamFrame();

/// Rows of 1280 BGRA pixels, bottom-up; null before `LoadWebcam` has succeeded.
const std::uint8_t* WebcamPixels() noexcept;

/// Releases camera and picture; a later load reopens the camera. Must not be called during process detach:
/// waiting for the graph's threads would deadlock.
void UnloadWebcam();

}  // namespace pixelforge
