// Registers the pieces of a pass as virtual includes and expands a short text that includes them all.
#include "glsl/pass_source.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string>
#include <utility>

#include "base/text.h"
#include "glsl/include_preprocessor.h"
#include "glsl/line_map.h"

namespace pixelforge {
namespace {

/// Follows the version line. `char` and `packed`, reserved in desktop GLSL, are ordinary names in the
/// service's shaders. `pf_assert` needs `pf_AssertColor`, which only GLSL 4.20 and later declare: the engine
/// requires a context of version 4.2.
constexpr const char* kPrefixText = R"glsl(#define HW_PERFORMANCE 1
#define char char_sYjan77j
#define packed packed_sYjan77j
uniform vec3      iResolution;           // viewport resolution (in pixels)
uniform float     iTime;                 // shader playback time (in seconds)
uniform float     iTimeDelta;            // render time (in seconds)
uniform int       iFrame;                // shader playback frame
uniform float     iFrameRate;            // frames per second
uniform float     iChannelTime[4];       // channel playback time (in seconds)
uniform vec3      iChannelResolution[4]; // channel resolution (in pixels)
uniform vec4      iMouse;                // mouse pixel coords. xy: current (if MLB down), zw: click
uniform vec4      iDate;                 // (year, month, day, time in seconds)
uniform float     iSampleRate;           // sound sample rate (i.e., 44100)

#if __VERSION__ >= 420
    out vec4 pf_FragColor;
    vec4 pf_AssertColor = vec4(1e20);
    #define gl_FragColor pf_FragColor
#endif

void pf_assert(bool cond, int v) {
    if (!cond) {
        if (v == 0) pf_AssertColor.x = -1.0;
        else if (v == 1) pf_AssertColor.y = -1.0;
        else if (v == 2) pf_AssertColor.z = -1.0;
        else pf_AssertColor.w = -1.0;
    }
}

void pf_assert(bool cond) {
    if (!cond) pf_AssertColor.x = -1.0;
}
)glsl";

/// `main` of every pass but Cube A: calls `mainImage` and shows failed `pf_assert` calls as colours.
constexpr const char* kImageWrapper = R"glsl(void main(void)
{
    vec4 color = vec4(0.0);
    mainImage(color, gl_FragCoord.xy);
    if (pf_AssertColor.x < 0.0) color = vec4(1.0, 0.0, 0.0, 1.0);
    if (pf_AssertColor.y < 0.0) color = vec4(0.0, 1.0, 0.0, 1.0);
    if (pf_AssertColor.z < 0.0) color = vec4(0.0, 0.0, 1.0, 1.0);
    if (pf_AssertColor.w < 0.0) color = vec4(1.0, 1.0, 0.0, 1.0);
    gl_FragColor = color;
}
)glsl";

/// `main` of Cube A: calls `mainCubemap` with the ray direction of the pixel.
constexpr const char* kCubeWrapper = R"glsl(uniform vec3 cmCornerVertices[5];

void main(void)
{
    vec4 color = vec4(1e20);
    vec3 ro = cmCornerVertices[4];
    vec2 uv = gl_FragCoord.xy / iResolution.xy;
    vec3 rd = normalize( mix( mix( cmCornerVertices[0], cmCornerVertices[1], uv.x ),
                              mix( cmCornerVertices[3], cmCornerVertices[2], uv.x ), uv.y ) - ro );
    mainCubemap(color, gl_FragCoord.xy, ro, rd);
    gl_FragColor = color;
}
)glsl";

/// Indexed by `ChannelType`; the channel's digit follows.
constexpr std::array<const char*, 9> kSamplerDeclarations = {
    "",
    "uniform sampler2D iChannel",
    "uniform sampler2D iChannel",
    "uniform samplerCube iChannel",
    "uniform samplerCube iChannel",
    "uniform sampler3D iChannel",
    "uniform sampler2D iChannel",
    "uniform sampler2D iChannel",
    "uniform sampler2D iChannel",
};

char versionLine[32] = "#version 330";

/// Empties the table of virtual includes at the end of an assembly, failed or not.
class VirtualIncludeGuard {
public:
    explicit VirtualIncludeGuard(IncludeContext& includes) : includes_(includes) {}
    ~VirtualIncludeGuard() { ClearVirtualIncludes(includes_); }
    VirtualIncludeGuard(const VirtualIncludeGuard&) = delete;
    VirtualIncludeGuard& operator=(const VirtualIncludeGuard&) = delete;

private:
    IncludeContext& includes_;
};

/// A type above 8 should never occur; its line deliberately fails to compile.
std::string SamplerLines(const RenderPass& pass) {
    std::string result;
    for (std::uint32_t channel = 0; channel < kChannels; ++channel) {
        const auto type = static_cast<std::uint32_t>(pass.inputs[channel].ctype);
        if (type != 0) {
            result += type < kSamplerDeclarations.size() ? kSamplerDeclarations[type] : "";
            result += std::to_string(channel) + ";\n";
        }
    }
    return result;
}

const char* CodeOf(const RenderPass& pass) noexcept {
    return pass.code ? pass.code.get() : "";
}

/// A copy with "\n" line ends and exactly one at the end, or null if out of memory.
HeapText CopyNormalized(const char* text) noexcept {
    const std::size_t capacity = std::strlen(text) + 2;
    HeapText copy = AllocateHeapText(capacity);
    if (copy) {
        NormalizeLineEnds(text, copy.get(), capacity);
        EndWithOneNewline(copy.get());
    }
    return copy;
}

bool HasAnyPass(const ShaderDocument& document) noexcept {
    return std::any_of(std::begin(document.passes), std::end(document.passes),
                       [](const RenderPass& pass) { return pass.kind != PassKind::Other || pass.code; });
}

/// Without a Common pass the text is one empty line.
HeapText CopyCommon(const ShaderDocument& document) noexcept {
    const RenderPass& common = document.passes[static_cast<std::size_t>(PassKind::Common)];
    return HasAnyPass(document) ? CopyNormalized(CodeOf(common)) : nullptr;
}

HeapText ExpandPieces(IncludeContext& includes, bool hasCommon, std::uint32_t slot, LineMap* lines) {
    const std::string directives = std::string("#include \"PREFIX\"\n") +
                                   (hasCommon ? "#include \"Common\"\n" : "") + "#include \"" +
                                   PassNarrowName(slot) + "\"\n#include \"SUFFIX\"\n";
    std::fill(std::begin(includes.included), std::end(includes.included), IncludedName{});
    includes.includedCount = 0;
    if (lines) {
        lines->Clear();
    }
    GrowBuffer output;
    std::uint32_t line = 1;
    if (!PreprocessIncludes(includes, directives.c_str(), &output, line, 0, lines) || !output.Append("", 1)) {
        return nullptr;
    }
    return HeapText(reinterpret_cast<char*>(output.data.release()));
}

}  // namespace

const char* const kVertexShaderSource = R"glsl(#version 330 core
layout(location = 0) in vec2 position;
layout(location = 1) in vec2 inTexCoord;

out vec2 texCoord;
void main() {
    texCoord = inTexCoord;
    gl_Position = vec4(position.x, position.y, 0.0f, 1.0f);
}
)glsl";

void SetVersionLine(int major, int minor) noexcept {
    const long long number = (10LL * major + minor) * 10;
    std::snprintf(versionLine, sizeof(versionLine), "#version %lld", number);
}

HeapText AssemblePassSource(const ShaderDocument* document, IncludeContext* includes, const RenderPass* pass,
                            LineMap* lines) {
    if (!document || !includes || !pass) {
        return nullptr;
    }
    const VirtualIncludeGuard guard(*includes);
    const auto slot = static_cast<std::uint32_t>(pass->kind);
    const std::string head = std::string(versionLine) + "\n" + kPrefixText + SamplerLines(*pass);
    HeapText prefix = CopyNormalized(head.c_str());
    HeapText suffix = CopyNormalized(pass->kind == PassKind::CubeA ? kCubeWrapper : kImageWrapper);
    if (!prefix || !suffix) {
        return nullptr;
    }
    // If the author's code cannot be copied, its entry has no text and its directive is dropped.
    HeapText common = CopyCommon(*document);
    const bool hasCommon = static_cast<bool>(common);
    const bool registered = RegisterVirtualInclude(*includes, kPrefixName, std::move(prefix)) &&
                            RegisterVirtualInclude(*includes, kSuffixName, std::move(suffix)) &&
                            RegisterVirtualInclude(*includes, L"Common", std::move(common)) &&
                            RegisterVirtualInclude(*includes, PassName(slot), CopyNormalized(CodeOf(*pass)));
    return registered ? ExpandPieces(*includes, hasCommon, slot, lines) : nullptr;
}

}  // namespace pixelforge
