// Move-only owners of GL names. Needs no GL header: a name is a plain unsigned number.
#pragma once

#include <utility>

namespace pixelforge {

using GlName = unsigned int;

/// True when a context is current on this thread and the entry points that the engine needs are there.
/// Without both, no GL function may be called.
bool IsGlUsable() noexcept;

/// Owns one name. Its context has to be current when it is released; when none is current nothing is
/// called, since the name then dies with its context.
template <void (*Delete)(GlName) noexcept>
class GlHandle {
public:
    GlHandle() noexcept = default;
    explicit GlHandle(GlName name) noexcept : name_(name) {}
    GlHandle(GlHandle&& other) noexcept : name_(std::exchange(other.name_, 0)) {}
    GlHandle& operator=(GlHandle&& other) noexcept {
        GlHandle(std::move(other)).Swap(*this);
        return *this;
    }
    GlHandle(const GlHandle&) = delete;
    GlHandle& operator=(const GlHandle&) = delete;
    ~GlHandle() {
        if (name_ != 0 && IsGlUsable()) {
            Delete(name_);
        }
    }

    GlName Get() const noexcept { return name_; }
    explicit operator bool() const noexcept { return name_ != 0; }
    void Reset() noexcept { GlHandle().Swap(*this); }

private:
    void Swap(GlHandle& other) noexcept { std::swap(name_, other.name_); }

    GlName name_ = 0;
};

void DeleteTextureName(GlName name) noexcept;
void DeleteSamplerName(GlName name) noexcept;
void DeleteFramebufferName(GlName name) noexcept;
void DeleteBufferName(GlName name) noexcept;
void DeleteVertexArrayName(GlName name) noexcept;
void DeleteProgramName(GlName name) noexcept;
void DeleteShaderName(GlName name) noexcept;

using GlTexture = GlHandle<DeleteTextureName>;
using GlSampler = GlHandle<DeleteSamplerName>;
using GlFramebuffer = GlHandle<DeleteFramebufferName>;
using GlBuffer = GlHandle<DeleteBufferName>;
using GlVertexArray = GlHandle<DeleteVertexArrayName>;
using GlProgram = GlHandle<DeleteProgramName>;
using GlShader = GlHandle<DeleteShaderName>;

GlTexture NewTexture() noexcept;
GlSampler NewSampler() noexcept;
GlFramebuffer NewFramebuffer() noexcept;
GlBuffer NewBuffer() noexcept;
GlVertexArray NewVertexArray() noexcept;

}  // namespace pixelforge
