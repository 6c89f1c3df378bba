// Running both expansions.
#include "tests/glsl/expansion_comparison.h"

#include <ostream>

#include "base/heap.h"
#include "tests/glsl/literal_preprocessor.h"

namespace pixelforge {
namespace {

std::vector<ExpandedName> NamesOf(const IncludeContext& context) {
    std::vector<ExpandedName> names;
    for (std::int32_t i = 0; i < context.includedCount; ++i) {
        const IncludedName& entry = context.included[i];
        names.push_back({entry.name, entry.depth, entry.firstLine, entry.endLine});
    }
    return names;
}

}  // namespace

std::ostream& operator<<(std::ostream& stream, const ExpandedText& text) {
    return stream << (text.success ? "success, " : "failure, ") << text.line << " lines, "
                  << text.names.size() << " names: \"" << text.output << '"';
}

ExpandedText ExpandedByProduct(IncludeContext& context, const std::string& text) {
    const HeapText block = AllocateHeapText(text.size() + 1);
    text.copy(block.get(), text.size());
    context.includedCount = 0;
    GrowBuffer output;
    std::uint32_t line = 1;
    const bool success = PreprocessIncludes(context, block.get(), &output, line, 0);
    return {success, std::string(reinterpret_cast<const char*>(output.data.get()), output.count), line,
            NamesOf(context)};
}

ExpandedText ExpandedLiterally(IncludeContext& context, const std::string& text) {
    context.includedCount = 0;
    literal::Expansion expansion;
    const bool success = literal::Expand(context, text, expansion, 0);
    return {success, expansion.output, expansion.line, NamesOf(context)};
}

}  // namespace pixelforge
