// Registers the pieces of a pass as virtual includes and expands a short text that includes them.
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
#include "glsl/shader_texts.h"

namespace pixelforge {

namespace {

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

/// The texts of one assembly leave the table whatever becomes of it.
class VirtualIncludeGuard {
public:
    explicit VirtualIncludeGuard(IncludeContext& includes) : includes_(includes) {}
    ~VirtualIncludeGuard() { ClearVirtualIncludes(includes_); }
    VirtualIncludeGuard(const VirtualIncludeGuard&) = delete;
    VirtualIncludeGuard& operator=(const VirtualIncludeGuard&) = delete;

private:
    IncludeContext& includes_;
};

/// A type above 8 should never occur; its line does not compile, so that it is seen.
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

/// A copy with plain line ends and exactly one at the end, or null when there is no memory for it.
HeapText CopyTidied(const char* text) noexcept {
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

/// A document without a Common pass has an empty one, which becomes one empty line.
HeapText CopyCommon(const ShaderDocument& document) noexcept {
    const RenderPass& common = document.passes[static_cast<std::size_t>(PassKind::Common)];
    return HasAnyPass(document) ? CopyTidied(CodeOf(common)) : nullptr;
}

/// `includes` holds the texts that the directives name.
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

const char* VersionLine() noexcept {
    return versionLine;
}

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
    HeapText prefix = CopyTidied(head.c_str());
    HeapText suffix = CopyTidied(pass->kind == PassKind::CubeA ? kCubeWrapper : kImageWrapper);
    if (!prefix || !suffix) {
        return nullptr;
    }
    // Without memory for the author's code its entry has no text and its directive is dropped.
    HeapText common = CopyCommon(*document);
    const bool hasCommon = common != nullptr;
    const bool registered = RegisterVirtualInclude(*includes, L"PREFIX", std::move(prefix)) &&
                            RegisterVirtualInclude(*includes, L"SUFFIX", std::move(suffix)) &&
                            RegisterVirtualInclude(*includes, L"Common", std::move(common)) &&
                            RegisterVirtualInclude(*includes, PassName(slot), CopyTidied(CodeOf(*pass)));
    return registered ? ExpandPieces(*includes, hasCommon, slot, lines) : nullptr;
}

}  // namespace pixelforge
