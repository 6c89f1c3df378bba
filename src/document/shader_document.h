// The shader document in memory: plain records of fixed layout that the assembler and the engine index.
#pragma once

#include <cstdint>

#include "base/bitmap.h"
#include "base/heap.h"
#include "base/text.h"

namespace pixelforge {

/// A pass's kind and its slot in the document. Slot 0 takes sound passes and everything unknown.
enum class PassKind : std::uint32_t {
    Other = 0,
    Common = 1,
    BufferA = 2,
    BufferB = 3,
    BufferC = 4,
    BufferD = 5,
    CubeA = 6,
    Image = 7,
};

inline constexpr std::uint32_t kPassSlots = 8;
inline constexpr std::uint32_t kChannels = 4;

/// True for the slots that have a program and targets of their own: Buffer A to D, Cube A, Image.
constexpr bool IsDrawableSlot(std::uint32_t slot) noexcept {
    return slot >= 2 && slot <= 7;
}

enum class ChannelType : std::uint32_t {
    None = 0,
    Texture = 1,
    Buffer = 2,
    CubeBuffer = 3,
    CubeMap = 4,
    Volume = 5,
    Keyboard = 6,
    Webcam = 7,
    Audio = 8,
};

/// `wrap` and `filter` hold OpenGL enumerants.
struct SamplerState {
    std::uint32_t wrap;
    std::uint32_t filter;
    std::int32_t vflip;
    std::int32_t srgb;          ///< read and kept, without effect
    std::int32_t internalByte;  ///< read and kept, without effect
};

inline constexpr std::uint32_t kWrapClamp = 33071;     ///< GL_CLAMP_TO_EDGE
inline constexpr std::uint32_t kWrapRepeat = 10497;    ///< GL_REPEAT
inline constexpr std::uint32_t kFilterLinear = 9729;   ///< GL_LINEAR
inline constexpr std::uint32_t kFilterNearest = 9728;  ///< GL_NEAREST
inline constexpr std::uint32_t kFilterMipmap = 9987;   ///< GL_LINEAR_MIPMAP_LINEAR

/// One input channel. The media step fills `faces` and `volume`; they are released with the document.
struct PassInput {
    ChannelType ctype;
    UniqueBitmap faces[6];  ///< a texture uses the first, a cube map all six in GL face order
    HeapBytes volume;       ///< a whole volume file, of `volumeBytes` bytes
    std::uint32_t volumeBytes;
    SamplerState sampler;
    std::int32_t
        sourcePass;  ///< slot that a buffer or cube-buffer channel reads, 0 for none, -1 for loaded media
    std::uint32_t channel;  ///< 0 to 3
    wchar_t src[kPathUnits];
};

struct ChannelSize {
    float width;
    float height;
    float depth;
};

struct RenderPass {
    PassKind kind;  ///< `Other` also marks a slot that the document does not fill
    HeapText code;  ///< GLSL, NUL-terminated, owned by the document; null for a sound pass
    PassInput inputs[kChannels];
    ChannelSize channelResolution[kChannels];
};

struct ShaderInfo {
    wchar_t id[20];
    wchar_t date[32];
    std::uint32_t viewed;
    wchar_t name[128];
    wchar_t username[64];
    wchar_t description[260];
    std::uint32_t likes;
    std::uint32_t published;
    std::uint32_t flags;
    std::uint32_t usePreview;
    wchar_t tags[256];
    std::uint32_t hasliked;
};

/// A stranger's document is trusted less than a file that the user chose; zero is the stricter.
enum class DocumentOrigin : std::uint32_t {
    Service = 0,  ///< fetched, or from the cache
    LocalFile = 1,
};

struct ShaderDocument {
    float ver;
    ShaderInfo info;
    RenderPass passes[kPassSlots];  ///< indexed by `PassKind`
    DocumentOrigin origin;          ///< set by `LoadShaderById`
};

}  // namespace pixelforge
