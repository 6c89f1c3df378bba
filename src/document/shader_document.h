// The shader document in memory: plain fixed-size records, and the names of its passes.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "base/bitmap.h"
#include "base/heap.h"
#include "base/text.h"

namespace pixelforge {

/// A pass's kind and its slot in the document. Slot 0 is for sound passes and everything unknown.
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

/// True for the slots with a program and render targets: Buffer A to D, Cube A, Image.
constexpr bool IsDrawableSlot(std::uint32_t slot) noexcept {
    return slot >= 2 && slot <= 7;
}

/// A slot's display name, under which its code is included; empty above slot 7. Slot 0 is "+".
const wchar_t* PassName(std::uint32_t slot) noexcept;
const char* PassNarrowName(std::uint32_t slot) noexcept;

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
    std::int32_t srgb;          ///< stored but unused
    std::int32_t internalByte;  ///< stored but unused
};

inline constexpr std::uint32_t kWrapClamp = 33071;     ///< GL_CLAMP_TO_EDGE
inline constexpr std::uint32_t kWrapRepeat = 10497;    ///< GL_REPEAT
inline constexpr std::uint32_t kFilterLinear = 9729;   ///< GL_LINEAR
inline constexpr std::uint32_t kFilterNearest = 9728;  ///< GL_NEAREST
inline constexpr std::uint32_t kFilterMipmap = 9987;   ///< GL_LINEAR_MIPMAP_LINEAR

struct ChannelSize {
    float width;
    float height;
    float depth;
};

/// What the channels of one type that name the same file show. Loaded when the first of them gets its
/// texture, and emptied after the last.
struct Medium {
    UniqueBitmap faces[6];  ///< a texture uses the first, a cube map all six in GL face order
    HeapBytes volume;       ///< a whole volume file of `volumeBytes` bytes
    std::uint32_t volumeBytes;
    std::uint64_t bytes;  ///< of each of its textures in the document's budget
    ChannelSize size;
    std::string fault;  ///< why it cannot be shown: one clause of UTF-8, or empty
};

/// One input channel.
struct PassInput {
    ChannelType ctype;
    std::shared_ptr<Medium> medium;  ///< null unless the media step has found its file
    SamplerState sampler;
    std::int32_t sourcePass;  ///< slot read by a buffer or cube-buffer channel; 0 none, -1 loaded media
    std::uint32_t channel;    ///< 0 to 3
    wchar_t src[kPathUnits];
    wchar_t refusedSrc[kPathUnits];  ///< the document's `src` if it may not be used; for messages only
};

struct RenderPass {
    PassKind kind;  ///< `Other` also marks an empty slot
    HeapText code;  ///< GLSL, NUL-terminated; null for a sound pass
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

/// A document from the service is trusted less than a file the user chose.
enum class DocumentOrigin : std::uint32_t {
    Service = 0,  ///< fetched or cached
    LocalFile = 1,
};

struct ShaderDocument {
    float ver;
    ShaderInfo info;
    RenderPass passes[kPassSlots];  ///< indexed by `PassKind`
    DocumentOrigin origin;          ///< set by `LoadShaderById`
    std::uint64_t mediaBytes;       ///< of the textures of its pictures and volumes so far
};

}  // namespace pixelforge
