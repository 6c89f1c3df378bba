// The process's camera, shared by all instances: its picture of 1280 x 720 pixels, refreshed now and then.
#pragma once

#include <cstdint>

#include "inputs/packed_image.h"

namespace pixelforge {

/// For a shader with a webcam channel: the first one opens the camera, later ones find it running. Whatever
/// fails, the picture is there, black at first; false when not even that could be made.
bool LoadWebcam();

/// Once for each rendered frame of a shader with a webcam channel; every 16th call of all brings the camera's
/// newest image into the picture. The number of the picture's state, which changes with it: a renderer whose
/// texture shows another state has to upload.
std::uint32_t GrabWebcamFrame();

/// Rows of 1280 BGRA pixels, the bottom row first; null before `LoadWebcam` succeeded.
const std::uint8_t* WebcamPixels() noexcept;

/// Releases camera and picture; a later load opens the camera again. Not for process detach, where waiting
/// for the graph's threads would never end.
void UnloadWebcam();

}  // namespace pixelforge
