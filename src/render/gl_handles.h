// Move-only owners of GL names. Needs no GL header: a name is a plain unsigned number.
#pragma once

#include <utility>

namespace pixelforge {

using GlName = unsigned int;

enum class GlObject { Texture, Sampler, Framebuffer, Buffer, VertexArray, Program, Shader };

/// True if a context is current on this thread and the entry points that the engine needs are loaded. No GL
/// function may be called otherwise.
bool IsGlUsable() noexcept;

/// A new name; 0 for a shader, which is created with its stage.
GlName CreateGlName(GlObject object) noexcept;
void DeleteGlName(GlObject object, GlName name) noexcept;

/// Owns one name. Release it while its context is current; without a current context no GL function is
/// called, as the name dies with its context.
template <GlObject kObject>
class GlHandle {
public:
    GlHandle() noexcept = default;
    explicit GlHandle(GlName name) noexcept : name_(name) {}
    GlHandle(GlHandle&& other) noexcept : name_(std::exchange(other.name_, 0)) {}
    GlHandle& operator=(GlHandle&& other) noexcept {
        Reset(std::exchange(other.name_, 0));
        return *this;
    }
    GlHandle(const GlHandle&) = delete;
    GlHandle& operator=(const GlHandle&) = delete;
    ~GlHandle() { Reset(); }

    static GlHandle Create() noexcept { return GlHandle(CreateGlName(kObject)); }

    GlName Get() const noexcept { return name_; }
    explicit operator bool() const noexcept { return name_ != 0; }
    void Reset(GlName name = 0) noexcept {
        const GlName old = std::exchange(name_, name);
        if (old != 0 && IsGlUsable()) {
            DeleteGlName(kObject, old);
        }
    }

private:
    GlName name_ = 0;
};

using GlTexture = GlHandle<GlObject::Texture>;
using GlSampler = GlHandle<GlObject::Sampler>;
using GlFramebuffer = GlHandle<GlObject::Framebuffer>;
using GlBuffer = GlHandle<GlObject::Buffer>;
using GlVertexArray = GlHandle<GlObject::VertexArray>;
using GlProgram = GlHandle<GlObject::Program>;
using GlShader = GlHandle<GlObject::Shader>;

}  // namespace pixelforge
