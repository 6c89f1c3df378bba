// Expands texts with the product and, for comparison, with a slow literal implementation.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "glsl/include_preprocessor.h"

namespace pixelforge {

/// A block of exactly the text and its NUL, so that sanitizers catch a read past the end.
HeapText CopyText(std::string_view text);

struct ExpandedText {
    bool success = false;
    std::string output;
    std::uint32_t line = 1;
    std::wstring names;  ///< included names, each with its depth and lines

    bool operator==(const ExpandedText&) const = default;
};

/// Both use the texts registered in `context` and start with an empty included list.
ExpandedText ExpandedByProduct(IncludeContext& context, std::string_view text);
ExpandedText ExpandedLiterally(IncludeContext& context, const std::string& text);

}  // namespace pixelforge
