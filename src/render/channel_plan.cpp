// What a document's inputs mean for the engine.
#include "render/channel_plan.h"

#include "inputs/webcam_capture.h"
#include "render/cube_corners.h"

namespace pixelforge {

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

}  // namespace pixelforge
