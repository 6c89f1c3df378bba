// Inputs of passes and frames, independent of GL: channel sources and sizes, uniforms, cube corners.
#pragma once

#include <array>
#include <cstdint>

#include "document/shader_document.h"
#include "render/input_state.h"

namespace pixelforge {

inline constexpr std::int32_t kKeyboardTextureWidth = 256;
inline constexpr std::int32_t kKeyboardTextureHeight = 3;
inline constexpr std::int32_t kAudioTextureWidth = 512;
inline constexpr std::int32_t kAudioTextureHeight = 2;

/// Side of a Cube A face in pixels.
inline constexpr int kCubeSize = 1024;

/// The slot whose output a channel reads: 2 to 5 for a buffer channel, 6 for a cube-buffer channel, 0 for
/// every other type and for a source that does not fit the channel's sampler.
std::uint32_t SourceSlot(const PassInput& input) noexcept;

/// iChannelResolution of a channel: known here for buffers and live inputs, `recorded` by the document for
/// media.
ChannelSize ChannelResolution(ChannelType type, const ChannelSize& recorded, float renderWidth,
                              float renderHeight) noexcept;

/// iMouse: current position, click position. w is positive only on the first frame after a click, which
/// `clicked` marks; z only while the button is down.
std::array<float, 4> MouseUniform(const MouseReading& mouse, bool clicked) noexcept;

/// Local time; month and day count from 1.
struct CalendarTime {
    std::uint32_t year;
    std::uint32_t month;
    std::uint32_t day;
    std::uint32_t hour;
    std::uint32_t minute;
    std::uint32_t second;
};

/// iDate: year, month, day and whole seconds of the day.
std::array<float, 4> DateUniform(const CalendarTime& now) noexcept;

/// iFrameRate in frames per second; 60 until the first millisecond has passed.
float FrameRateUniform(std::int32_t frameCounter, std::uint64_t elapsedMilliseconds) noexcept;

struct CubeVector {
    float x;
    float y;
    float z;
};

/// The corners at a face's lower left, lower right, upper right and upper left pixel, then the ray origin.
inline constexpr int kCubeVectors = 5;

/// Faces +X, -X, +Y, -Y, +Z, -Z of a cube of side 2 seen from its centre, oriented as GL samples a cube map:
/// a pass that stores its ray direction reads the same direction back through a samplerCube.
extern const CubeVector kCubeCorners[6][kCubeVectors];

}  // namespace pixelforge
