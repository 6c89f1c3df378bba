// Assembly of a pass's text, its line map, and the expansion of a text with three others to include.
#include <algorithm>

#include "fuzz/fuzz_input.h"
#include "glsl/line_map.h"
#include "glsl/pass_source.h"
#include "tests/glsl/expansion.h"

using namespace pixelforge;
using namespace pixelforge::fuzz;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string_view input(reinterpret_cast<const char*>(data), size);
    const bool directives = input.find("#include") != std::string_view::npos;
    const HeapRecord<ShaderDocument> document = NewHeapRecord<ShaderDocument>();
    RenderPass& pass = document->passes[TakeByte(input) % kPassSlots];
    pass.kind = static_cast<PassKind>(&pass - document->passes);
    for (PassInput& channel : pass.inputs) {
        channel.ctype = static_cast<ChannelType>(TakeByte(input) % 10);
    }
    for (RenderPass* each : {&document->passes[1], &pass}) {
        each->code = ExactText(TakeText(input));
    }
    // With plain names only and no include folder, no directive can open a file.
    const HeapRecord<IncludeContext> includes = NewHeapRecord<IncludeContext>();
    includes->plainNamesOnly = true;
    LineMap lines;
    const HeapText text = AssemblePassSource(document.get(), includes.get(), &pass, &lines);
    Require(text || directives, "only a directive fails");
    if (text) {
        const std::string_view source = text.get();
        Require(source.starts_with("#version ") && source.ends_with('\n'), "version first, newline last");
        const auto last = std::ranges::count(source, '\n');
        Require(lines.Find(static_cast<std::uint32_t>(last)).has_value(), "every line has an origin");
    }
    for (const wchar_t* name : {L"", L"a", L"b"}) {
        RegisterVirtualInclude(*includes, name, ExactText(TakeText(input)));
    }
    const std::string code(TakeText(input));
    Require(Expanded(*includes, code, false) == Expanded(*includes, code, true), "both expansions are equal");
    return 0;
}
