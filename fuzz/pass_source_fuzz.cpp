// Assembly of a pass's text, and its line map.
#include <sstream>
#include <string>
#include <vector>

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

/// Without directives in the authors' texts, every line must equal the one that the map names.
void CheckLines(const ShaderDocument& document, const char* source, const LineMap& lines, bool exact) {
    std::istringstream stream(source);
    std::uint32_t number = 0;
    for (std::string line; std::getline(stream, line);) {
        const auto origin = lines.Find(++number);
        Require(origin.has_value(), "every line has an origin");
        for (std::uint32_t slot = 0; exact && slot < kPassSlots; ++slot) {
            if (document.passes[slot].code && origin->source == PassNarrowName(slot)) {
                std::string text = std::string(document.passes[slot].code.get()) + '\n';
                NormalizeLineEnds(text.data(), text.data(), text.size() + 1);
                std::string_view rest = text.c_str();
                for (std::uint32_t skipped = 1; skipped < origin->line; ++skipped) {
                    TakeLine(rest);
                }
                Require(!rest.empty() && TakeLine(rest) == line, "origins hold the same line");
            }
        }
    }
}

}  // namespace

void TryInput(std::string_view input) {
    const HeapRecord<ShaderDocument> document = NewHeapRecord<ShaderDocument>();
    const PassKind kind = ReadDocument(input, *document);
    // With plain names only and no include folder, no directive can open a file.
    const HeapRecord<IncludeContext> includes = NewHeapRecord<IncludeContext>();
    includes->plainNamesOnly = true;
    LineMap lines;
    const HeapText text = AssemblePassSource(document.get(), includes.get(), &Pass(*document, kind), &lines);
    Require(includes->virtualCount == 0, "the table is empty afterwards");
    const bool directives = input.find("#include") != std::string_view::npos;
    Require(text || directives, "only a directive fails");
    if (text) {
        const std::string_view source = text.get();
        Require(source.starts_with("#version ") && source.ends_with('\n'), "version first, newline last");
        CheckLines(*document, text.get(), lines, !directives);
    }
}

}  // namespace pixelforge::fuzz
