// What a document's inputs mean for the engine, apart from GL.
#pragma once

#include <cstdint>

#include "document/shader_document.h"

namespace pixelforge {

inline constexpr std::int32_t kKeyboardTextureWidth = 256;
inline constexpr std::int32_t kKeyboardTextureHeight = 3;
inline constexpr std::int32_t kAudioTextureWidth = 512;
inline constexpr std::int32_t kAudioTextureHeight = 2;

/// The slot whose output a channel reads: 2 to 5 for a buffer channel, 6 for a cube-buffer channel, and 0
/// for every other type and every source that does not fit the channel's sampler.
std::uint32_t SourceSlot(const PassInput& input) noexcept;

/// iChannelResolution of a channel whose size is the engine's to know; `recorded`, which the document
/// carries, for media.
ChannelSize ChannelResolution(ChannelType type, const ChannelSize& recorded, float renderWidth,
                              float renderHeight) noexcept;

}  // namespace pixelforge
