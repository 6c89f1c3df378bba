// Compares the expansion with the reference implementation, with three texts to include.
#include <string>

#include "fuzz/fuzz_input.h"
#include "glsl/include_preprocessor.h"
#include "tests/glsl/expansion.h"

namespace pixelforge::fuzz {

void TryInput(std::string_view input) {
    const HeapRecord<IncludeContext> context = NewHeapRecord<IncludeContext>();
    // With plain names only and no include folder, no directive can open a file.
    context->plainNamesOnly = true;
    for (const wchar_t* name : {L"", L"a", L"b"}) {
        RegisterVirtualInclude(*context, name, ExactText(TakeText(input)));
    }
    const std::string text(TakeText(input));
    Require(ExpandedByProduct(*context, text) == ExpandedLiterally(*context, text),
            "both expansions are equal");
}

}  // namespace pixelforge::fuzz
