// The linear expansion against the literal one, with three texts that can be included.
#include <string>

#include "fuzz/fuzz_input.h"
#include "glsl/include_preprocessor.h"
#include "tests/glsl/expansion_comparison.h"

namespace pixelforge::fuzz {
namespace {

/// Plain names only and no folder: no directive reaches this machine's files.
HeapRecord<IncludeContext> ReadContext(InputReader& input) {
    HeapRecord<IncludeContext> context = NewHeapRecord<IncludeContext>();
    context->plainNamesOnly = true;
    for (const wchar_t* name : {L"", L"a", L"b"}) {
        RegisterVirtualInclude(*context, name, ExactText(input.Text()));
    }
    return context;
}

}  // namespace
}  // namespace pixelforge::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace pixelforge;
    fuzz::InputReader input(data, size);
    const HeapRecord<IncludeContext> context = fuzz::ReadContext(input);
    const std::string text(input.Text());
    fuzz::Require(ExpandedByProduct(*context, text) == ExpandedLiterally(*context, text),
                  "both expansions are equal");
    return 0;
}
