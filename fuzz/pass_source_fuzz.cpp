// Assembly of a pass's text, and its line map.
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "base/text.h"
#include "fuzz/fuzz_input.h"
#include "glsl/include_preprocessor.h"
#include "glsl/line_map.h"
#include "glsl/pass_source.h"

namespace pixelforge::fuzz {
namespace {

RenderPass& Pass(ShaderDocument& document, PassKind kind) {
    return document.passes[static_cast<std::uint32_t>(kind)];
}

PassKind ReadDocument(std::string_view input, ShaderDocument& document) {
    const auto kind = static_cast<PassKind>(TakeByte(input) % kPassSlots);
    for (PassInput& channel : Pass(document, kind).inputs) {
        channel.ctype = static_cast<ChannelType>(TakeByte(input) % 10);
    }
    for (const PassKind each : {PassKind::Common, kind}) {
        Pass(document, each).kind = each;
        Pass(document, each).code = ExactText(TakeText(input));
    }
    return kind;
}

std::vector<std::string> LinesOf(const RenderPass& pass) {
    std::string text = std::string(pass.code.get()) + '\n';
    NormalizeLineEnds(text.data(), text.data(), text.size() + 1);
    std::istringstream stream(text.c_str());
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// Without directives in the authors' texts, every line must equal the one that the map names.
void CheckLines(ShaderDocument& document, PassKind kind, const char* source, const LineMap& map, bool exact) {
    std::map<std::string, std::vector<std::string>> texts;
    for (const PassKind each : {PassKind::Common, kind}) {
        texts[PassNarrowName(static_cast<std::uint32_t>(each))] = LinesOf(Pass(document, each));
    }
    std::istringstream lines(source);
    std::uint32_t number = 0;
    for (std::string line; std::getline(lines, line);) {
        const auto origin = map.Find(++number);
        Require(origin.has_value(), "every line has an origin");
        if (const auto text = texts.find(origin->source); exact && text != texts.end()) {
            Require(origin->line >= 1 && origin->line <= text->second.size(), "origins exist");
            Require(text->second[origin->line - 1] == line, "origins hold the same line");
        }
    }
}

bool HasDirective(const RenderPass& pass) {
    return std::string_view(pass.code.get()).find("#include") != std::string_view::npos;
}

void Check(ShaderDocument& document, PassKind kind) {
    // With plain names only and no include folder, no directive can open a file.
    const HeapRecord<IncludeContext> includes = NewHeapRecord<IncludeContext>();
    includes->plainNamesOnly = true;
    LineMap map;
    const HeapText text = AssemblePassSource(&document, includes.get(), &Pass(document, kind), &map);
    Require(includes->virtualCount == 0, "the table is empty afterwards");
    const bool directives =
        HasDirective(Pass(document, PassKind::Common)) || HasDirective(Pass(document, kind));
    Require(text || directives, "only a directive fails");
    if (text) {
        const std::string_view source = text.get();
        Require(source.starts_with("#version ") && source.ends_with('\n'), "version first, newline last");
        CheckLines(document, kind, text.get(), map, !directives);
    }
}

}  // namespace

void TryInput(std::string_view input) {
    const auto document = std::make_unique<ShaderDocument>();
    const PassKind kind = ReadDocument(input, *document);
    Check(*document, kind);
}

}  // namespace pixelforge::fuzz
