// One pass of the graph: program, channels and the pair of targets that it draws into alternately.
#pragma once

#include <cstdint>
#include <memory>

#include "base/heap.h"
#include "document/shader_document.h"
#include "render/gl_handles.h"

namespace pixelforge {

/// Locations in a pass's program; -1 for unused names.
struct UniformLocations {
    std::int32_t resolution;
    std::int32_t time;
    std::int32_t mouse;
    std::int32_t iResolution;
    std::int32_t iTime;
    std::int32_t iTimeDelta;
    std::int32_t iFrameRate;
    std::int32_t iFrame;
    std::int32_t iDate;
    std::int32_t iMouse;
    std::int32_t iChannelTime;
    std::int32_t iChannelResolution;
    std::int32_t cmCornerVertices;
    std::int32_t iChannel[kChannels];
};

/// The texture of a file, for all channels that show it the same way round.
struct MediaTexture {
    GlTexture texture;
    bool mipmapsStale;  ///< not generated yet
};

/// One input of a pass. A channel whose medium is unavailable keeps its type but has no texture.
struct ChannelSlot {
    ChannelType type;
    std::uint32_t sourceSlot;  ///< slot whose output is read; 0 for none
    bool mipmapped;            ///< the sampler reads mipmaps; stale ones are regenerated before a draw
    GlSampler sampler;
    std::shared_ptr<MediaTexture> texture;  ///< null for a channel without a medium
};

/// One member of a pass's pair.
struct PassTarget {
    GlFramebuffer framebuffer;
    GlTexture texture;
    GlFramebuffer resolvedFramebuffer;  ///< with its texture, only for a multisampled target that is read
    GlTexture resolvedTexture;
    bool resolvedStale;  ///< drawn since the last resolve
    bool mipmapsStale;   ///< drawn since the mipmaps were generated
};

struct PassSlot {
    std::uint32_t number;  ///< 2 to 7 for a pass to draw; 0 for an unused slot
    HeapText source;       ///< the assembled fragment text
    ChannelSlot channels[kChannels];
    HeapText infoLog;  ///< the driver's latest log about this pass's shaders
    std::int32_t infoLogLength;
    GlProgram program;
    UniformLocations uniforms;
    bool isRead;  ///< some channel reads this pass's output
    PassTarget targets[2];
    bool targetsRefused;   ///< the driver cannot draw into them
    std::int32_t current;  ///< member of the pair that is drawn into next; readers use the other
    float channelTime[kChannels];
    ChannelSize channelResolution[kChannels];
};

}  // namespace pixelforge
