// The linear expansion against the literal one, with three texts that can be included.
#include <string>

#include "fuzz/fuzz_input.h"
#include "glsl/include_preprocessor.h"
#include "tests/glsl/expansion.h"

namespace pixelforge::fuzz {

void TryInput(std::string_view input) {
    const HeapRecord<IncludeContext> context = NewHeapRecord<IncludeContext>();
    // Plain names only and no folder: no directive reaches this machine's files.
    context->plainNamesOnly = true;
    for (const wchar_t* name : {L"", L"a", L"b"}) {
        RegisterVirtualInclude(*context, name, ExactText(TakeText(input)));
    }
    const std::string text(TakeText(input));
    Require(ExpandedByProduct(*context, text) == ExpandedLiterally(*context, text),
            "both expansions are equal");
}

}  // namespace pixelforge::fuzz
