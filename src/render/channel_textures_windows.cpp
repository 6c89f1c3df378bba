// Channel textures: creation and binding.
#include "render/channel_textures.h"

#include <GL/glew.h>

#include <memory>
#include <string>

#include "base/load_error.h"
#include "media/document_media.h"
#include "render/frame_inputs.h"
#include "render/gl_diagnostics.h"
#include "render/live_textures.h"
#include "render/media_textures.h"
#include "render/pass_targets.h"

namespace pixelforge {
namespace {

constexpr std::int32_t kMediaLoaded = -1;

/// A texture as a channel binds it. `mipmapsStale` is null without a texture.
struct BoundTexture {
    GLenum target;
    GlName name;
    bool* mipmapsStale;
};

/// A sampler object per channel, because two channels may read the same pass with different settings.
GlSampler CreateSampler(const SamplerState& state) {
    GlSampler sampler = GlSampler::Create();
    const auto set = [&sampler](GLenum name, std::uint32_t value) {
        glSamplerParameteri(sampler.Get(), name, static_cast<GLint>(value));
    };
    const std::uint32_t filter = state.filter != 0 ? state.filter : kFilterLinear;
    const std::uint32_t wrap = state.wrap != 0 ? state.wrap : kWrapClamp;
    set(GL_TEXTURE_WRAP_S, wrap);
    set(GL_TEXTURE_WRAP_T, wrap);
    set(GL_TEXTURE_WRAP_R, wrap);
    set(GL_TEXTURE_MIN_FILTER, filter);
    set(GL_TEXTURE_MAG_FILTER, filter == kFilterMipmap ? kFilterLinear : filter);
    return sampler;
}

GLenum TextureTarget(ChannelType type) noexcept {
    switch (type) {
        case ChannelType::CubeBuffer:
        case ChannelType::CubeMap:
            return GL_TEXTURE_CUBE_MAP;
        case ChannelType::Volume:
            return GL_TEXTURE_3D;
        default:
            return GL_TEXTURE_2D;
    }
}

/// Also binds a multisampled source itself, although a sampler2D reads its resolved copy.
BoundTexture PassOutput(GlRenderer& renderer, PassSlot& source, GLenum target) {
    PassTarget& newest = NewestTarget(source);
    if (!IsMultisampled(renderer, source)) {
        return BoundTexture{target, newest.texture.Get(), &newest.mipmapsStale};
    }
    glBindTexture(GL_TEXTURE_2D_MULTISAMPLE, newest.texture.Get());
    ResolveTarget(renderer, newest);
    return BoundTexture{target, newest.resolvedTexture.Get(), &newest.mipmapsStale};
}

/// Name 0 for a channel without a texture.
BoundTexture TextureOf(GlRenderer& renderer, const ChannelSlot& channel) {
    const GLenum target = TextureTarget(channel.type);
    if (channel.sourceSlot != 0) {
        return PassOutput(renderer, renderer.slots[channel.sourceSlot], target);
    }
    if (LiveTexture* live = LiveTextureOf(renderer, channel.type)) {
        return BoundTexture{target, live->texture.Get(), &live->mipmapsStale};
    }
    if (channel.texture) {
        return BoundTexture{target, channel.texture->texture.Get(), &channel.texture->mipmapsStale};
    }
    return BoundTexture{target, 0, nullptr};
}

void BindChannel(GlRenderer& renderer, const ChannelSlot& channel, std::uint32_t unit, GLint location) {
    glActiveTexture(GL_TEXTURE0 + unit);
    const BoundTexture bound = TextureOf(renderer, channel);
    glBindTexture(bound.target, bound.name);
    glBindSampler(unit, channel.sampler.Get());
    if (channel.mipmapped && bound.name != 0 && bound.mipmapsStale && *bound.mipmapsStale) {
        glGenerateMipmap(bound.target);
        *bound.mipmapsStale = false;
    }
    glUniform1i(location, static_cast<GLint>(unit));
    ReportGlError();
}

bool ShowsAlike(const PassInput& a, const PassInput& b) noexcept {
    return a.medium == b.medium && (a.ctype != ChannelType::Texture || a.sampler.vflip == b.sampler.vflip);
}

/// The texture of a channel that shows the same; null if there is none yet.
std::shared_ptr<MediaTexture> FindTexture(const GlRenderer& renderer, const PassInput& input) {
    for (std::uint32_t number = 0; number < kPassSlots; ++number) {
        for (std::uint32_t channel = 0; channel < kChannels; ++channel) {
            const auto& texture = renderer.slots[number].channels[channel].texture;
            if (texture && ShowsAlike(renderer.document.passes[number].inputs[channel], input)) {
                return texture;
            }
        }
    }
    return nullptr;
}

/// True while a channel that shows the same medium, perhaps the other way round, waits for its texture.
bool IsAwaited(const GlRenderer& renderer, const Medium& medium) {
    for (std::uint32_t number = 0; number < kPassSlots; ++number) {
        for (const PassInput& input : renderer.document.passes[number].inputs) {
            if (IsDrawableSlot(number) && input.medium.get() == &medium && !FindTexture(renderer, input)) {
                return true;
            }
        }
    }
    return false;
}

/// Textures stay; the pixels are only needed for uploads.
void ReleasePixels(Medium& medium) noexcept {
    for (UniqueBitmap& face : medium.faces) {
        face.Reset();
    }
    medium.volume.reset();
}

/// Creates the texture of an input that has a medium, or shares an existing one. A medium that cannot be
/// shown keeps the reason for its other channels.
void ShowMedium(GlRenderer& renderer, PassInput& input, ChannelSlot& slot) {
    Medium& medium = *input.medium;
    slot.texture = FindTexture(renderer, input);
    if (!slot.texture && medium.fault.empty()) {
        const std::uint64_t bytesBefore = renderer.document.mediaBytes;
        medium.fault = FailureOf([&] {
            LoadMedium(renderer.document, input);
            slot.texture = std::make_shared<MediaTexture>(MediaTexture{CreateMediaTexture(input), true});
        });
        if (!slot.texture) {
            renderer.document.mediaBytes = bytesBefore;
        }
    }
    if (!medium.fault.empty() || !IsAwaited(renderer, medium)) {
        ReleasePixels(medium);
    }
    input.sourcePass = slot.texture ? kMediaLoaded : 0;
}

}  // namespace

bool CreateChannelTexture(GlRenderer& renderer, std::uint32_t passSlot, std::uint32_t channel) {
    if (channel >= kChannels || passSlot >= kPassSlots) {
        return false;
    }
    RenderPass& pass = renderer.document.passes[passSlot];
    PassInput& input = pass.inputs[channel];
    ChannelSlot& slot = renderer.slots[passSlot].channels[channel];
    slot = ChannelSlot{};
    slot.type = input.ctype;
    if (slot.type == ChannelType::None || slot.type > ChannelType::Audio) {
        return true;
    }
    slot.sourceSlot = SourceSlot(input);
    slot.mipmapped = input.sampler.filter == kFilterMipmap;
    slot.sampler = CreateSampler(input.sampler);
    if (slot.sourceSlot != 0) {
        renderer.slots[slot.sourceSlot].isRead = true;
    }
    CreateLiveTexture(renderer, slot.type);
    if (!input.medium) {
        return true;
    }
    ShowMedium(renderer, input, slot);
    ReportGlError();
    if (!slot.texture) {
        ReportEmptyChannel(static_cast<PassKind>(passSlot), channel, input.src, input.medium->fault);
        return false;
    }
    pass.channelResolution[channel] = input.medium->size;
    return true;
}

void BindChannels(GlRenderer& renderer, const PassSlot& slot) {
    for (std::uint32_t channel = 0; channel < kChannels; ++channel) {
        const ChannelSlot& input = slot.channels[channel];
        if (input.type != ChannelType::None && input.type <= ChannelType::Audio) {
            BindChannel(renderer, input, channel, slot.uniforms.iChannel[channel]);
        }
    }
    glActiveTexture(GL_TEXTURE0);
}

void SetChannelResolutions(GlRenderer& renderer) noexcept {
    for (std::uint32_t number = 0; number < kPassSlots; ++number) {
        PassSlot& slot = renderer.slots[number];
        for (std::uint32_t channel = 0; channel < kChannels; ++channel) {
            slot.channelResolution[channel] = ChannelResolution(
                slot.channels[channel].type, renderer.document.passes[number].channelResolution[channel],
                renderer.resolution[0], renderer.resolution[1]);
        }
    }
}

}  // namespace pixelforge
