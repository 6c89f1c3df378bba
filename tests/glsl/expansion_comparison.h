// One expansion of a text, by the product or literally, in a form that can be compared and printed.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include "glsl/include_preprocessor.h"

namespace pixelforge {

struct ExpandedName {
    std::wstring name;
    std::uint32_t depth;
    std::uint32_t firstLine;
    std::uint32_t endLine;

    bool operator==(const ExpandedName&) const = default;
};

struct ExpandedText {
    bool success;
    std::string output;
    std::uint32_t line;
    std::vector<ExpandedName> names;

    bool operator==(const ExpandedText&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const ExpandedText& text);

/// Both take the texts that `context` has registered and begin with no name included. The text is read
/// from a block of exactly its size, so that a read behind it is seen by the sanitizers.
ExpandedText ExpandedByProduct(IncludeContext& context, const std::string& text);
ExpandedText ExpandedLiterally(IncludeContext& context, const std::string& text);

}  // namespace pixelforge
