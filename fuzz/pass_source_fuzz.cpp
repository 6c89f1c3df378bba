// Assembly of a pass's text, and the line map made beside it.
#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "glsl/include_preprocessor.h"
#include "glsl/line_map.h"
#include "glsl/pass_source.h"
#include "glsl/shader_texts.h"

namespace pixelforge::fuzz {
namespace {

std::unique_ptr<ShaderDocument> ReadDocument(InputReader& input, PassKind& kind) {
    auto document = std::make_unique<ShaderDocument>();
    kind = static_cast<PassKind>(input.Byte() % kPassSlots);
    RenderPass& pass = document->passes[static_cast<std::uint32_t>(kind)];
    for (PassInput& channel : pass.inputs) {
        channel.ctype = static_cast<ChannelType>(input.Byte() % 10);
    }
    RenderPass& common = document->passes[static_cast<std::uint32_t>(PassKind::Common)];
    common.kind = PassKind::Common;
    common.code = ExactText(input.Text());
    pass.kind = kind;
    pass.code = ExactText(input.Text());
    return document;
}

/// The lines of an author's text, whatever ended them; "\r\n" and "\n\r" are one end.
std::vector<std::string> LinesOf(std::string_view text) {
    std::vector<std::string> lines(1);
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\n' && text[i] != '\r') {
            lines.back() += text[i];
            continue;
        }
        lines.emplace_back();
        const char pair = text[i] == '\n' ? '\r' : '\n';
        i += i + 1 < text.size() && text[i + 1] == pair ? 1 : 0;
    }
    return lines;
}

/// Without directives of the authors every line stands where the map says, word for word.
void CheckLines(const ShaderDocument& document, PassKind kind, std::string_view source, const LineMap& map,
                bool exact) {
    const auto code = [&](PassKind slot) {
        return LinesOf(document.passes[static_cast<std::uint32_t>(slot)].code.get());
    };
    const std::vector<std::string> common = code(PassKind::Common);
    const std::vector<std::string> own = code(kind);
    const std::string ownName = PassNarrowName(static_cast<std::uint32_t>(kind));
    std::uint32_t number = 0;
    for (std::size_t end = source.find('\n'); end != source.npos; end = source.find('\n')) {
        const auto origin = map.Find(++number);
        Require(origin.has_value(), "every line has an origin");
        if (exact && (origin->source == "Common" || origin->source == ownName)) {
            const auto& lines = origin->source == "Common" ? common : own;
            Require(origin->line >= 1 && origin->line <= lines.size(), "origins exist");
            Require(lines[origin->line - 1] == source.substr(0, end), "origins are true");
        }
        source.remove_prefix(end + 1);
    }
    Require(source.empty(), "the last line ends");
}

void Check(const ShaderDocument& document, PassKind kind) {
    // Plain names only and no folder: no directive reaches this machine's files.
    const HeapRecord<IncludeContext> includes = NewHeapRecord<IncludeContext>();
    includes->plainNamesOnly = true;
    const RenderPass& pass = document.passes[static_cast<std::uint32_t>(kind)];
    LineMap map;
    const HeapText source = AssemblePassSource(&document, includes.get(), &pass, &map);
    Require(includes->virtualCount == 0, "the table is left empty");
    const std::string_view common = document.passes[static_cast<std::uint32_t>(PassKind::Common)].code.get();
    const bool directives = std::string_view(pass.code.get()).find("#include") != std::string_view::npos ||
                            common.find("#include") != std::string_view::npos;
    Require(source || directives, "only a directive fails");
    if (source) {
        Require(std::string_view(source.get()).starts_with("#version "), "the version comes first");
        CheckLines(document, kind, source.get(), map, !directives);
    }
}

}  // namespace
}  // namespace pixelforge::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace pixelforge;
    fuzz::InputReader input(data, size);
    PassKind kind = PassKind::Other;
    const auto document = fuzz::ReadDocument(input, kind);
    fuzz::Check(*document, kind);
    return 0;
}
