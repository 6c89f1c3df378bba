// Channel sources and sizes, the values of uniforms, and the corners of the cube's faces.
#include "render/frame_inputs.h"

#include <cmath>

#include "inputs/webcam_capture.h"

namespace pixelforge {

// A face's first texture coordinate runs from corner 0 to 1, its second from corner 0 to 3.
const CubeVector kCubeCorners[6][kCubeVectors] = {
    {{1, 1, 1}, {1, 1, -1}, {1, -1, -1}, {1, -1, 1}, {0, 0, 0}},
    {{-1, 1, -1}, {-1, 1, 1}, {-1, -1, 1}, {-1, -1, -1}, {0, 0, 0}},
    {{-1, 1, -1}, {1, 1, -1}, {1, 1, 1}, {-1, 1, 1}, {0, 0, 0}},
    {{-1, -1, 1}, {1, -1, 1}, {1, -1, -1}, {-1, -1, -1}, {0, 0, 0}},
    {{-1, 1, 1}, {1, 1, 1}, {1, -1, 1}, {-1, -1, 1}, {0, 0, 0}},
    {{1, 1, -1}, {-1, 1, -1}, {-1, -1, -1}, {1, -1, -1}, {0, 0, 0}},
};

std::uint32_t SourceSlot(const PassInput& input) noexcept {
    const auto cube = static_cast<std::int32_t>(PassKind::CubeA);
    const bool isFlatSource = input.sourcePass >= 2 && input.sourcePass < cube;
    const bool fits = (input.ctype == ChannelType::Buffer && isFlatSource) ||
                      (input.ctype == ChannelType::CubeBuffer && input.sourcePass == cube);
    return fits ? static_cast<std::uint32_t>(input.sourcePass) : 0;
}

ChannelSize ChannelResolution(ChannelType type, const ChannelSize& recorded, float renderWidth,
                              float renderHeight) noexcept {
    switch (type) {
        case ChannelType::None:
            return ChannelSize{};
        case ChannelType::Buffer:
            return ChannelSize{renderWidth, renderHeight, 1.0F};
        case ChannelType::CubeBuffer:
            return ChannelSize{kCubeSize, kCubeSize, 1.0F};
        case ChannelType::Keyboard:
            return ChannelSize{kKeyboardTextureWidth, kKeyboardTextureHeight, 1.0F};
        case ChannelType::Audio:
            return ChannelSize{kAudioTextureWidth, kAudioTextureHeight, 1.0F};
        case ChannelType::Webcam:
            return ChannelSize{kWebcamWidth, kWebcamHeight, 1.0F};
        default:
            return recorded;
    }
}

std::array<float, 4> MouseUniform(const MouseReading& mouse, bool clicked) noexcept {
    float z = static_cast<float>(mouse.click.x);
    float w = static_cast<float>(mouse.click.y);
    if (!clicked) {
        w = -std::fabs(w);
    }
    if (!mouse.buttonDown) {
        z = -std::fabs(z);
        w = -std::fabs(w);
    }
    return {static_cast<float>(mouse.current.x), static_cast<float>(mouse.current.y), z, w};
}

std::array<float, 4> DateUniform(const CalendarTime& now) noexcept {
    return {static_cast<float>(now.year), static_cast<float>(now.month), static_cast<float>(now.day),
            static_cast<float>(now.hour * 3600 + now.minute * 60 + now.second)};
}

float FrameRateUniform(std::int32_t frameCounter, std::uint64_t elapsedMilliseconds) noexcept {
    if (elapsedMilliseconds == 0) {
        return 60.0F;
    }
    return static_cast<float>(frameCounter * 1000.0 / static_cast<double>(elapsedMilliseconds));
}

}  // namespace pixelforge
