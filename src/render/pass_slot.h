// What the engine keeps for one pass: program, channels and the pair of targets it draws into in turn.
#pragma once

#include <cstdint>

#include "base/heap.h"
#include "document/shader_document.h"
#include "render/gl_handles.h"

namespace pixelforge {

/// Locations in a pass's program; -1 for a name that the program does not use.
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

/// One input of a pass. A channel whose medium could not be had keeps its type and has no texture.
struct ChannelSlot {
    ChannelType type;
    std::uint32_t sourceSlot;  ///< slot whose output is read, 0 for none
    bool mipmapped;            ///< the sampler reads mipmaps, so they are brought up to date before a draw
    GlSampler sampler;
    GlTexture texture;  ///< of a medium that belongs to this channel alone
};

/// One member of a pass's pair.
struct PassTarget {
    GlFramebuffer framebuffer;
    GlTexture texture;
    GlFramebuffer resolvedFramebuffer;  ///< with its texture, only for a multisampled target that is read
    GlTexture resolvedTexture;
    bool resolvedStale;  ///< drawn since the copy was made
    bool mipmapsStale;   ///< drawn since the mipmaps were made
};

struct PassSlot {
    std::uint32_t number;  ///< 2 to 7 for a pass to draw; 0 for a slot that the document does not fill
    HeapText source;       ///< the assembled fragment text
    ChannelSlot channels[kChannels];
    HeapText infoLog;  ///< what the driver last said about this pass's shaders
    std::int32_t infoLogLength;
    GlProgram program;
    UniformLocations uniforms;
    bool isRead;  ///< a channel of some pass reads this pass's output
    PassTarget targets[2];
    std::int32_t current;  ///< member of the pair that is drawn into next; readers take the other one
    float channelTime[kChannels];
    ChannelSize channelResolution[kChannels];
};

}  // namespace pixelforge
