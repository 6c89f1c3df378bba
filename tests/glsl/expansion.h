// Texts expanded by the product and, step by step and without regard to cost, literally.
// described.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "glsl/include_preprocessor.h"

namespace pixelforge {

/// A block of exactly the text and its NUL, so that a read behind it is seen by the sanitizers.
HeapText CopyText(std::string_view text);

struct ExpandedText {
    bool success = false;
    std::string output;
    std::uint32_t line = 1;
    std::wstring names;  ///< of the included texts, each with its depth and lines

    bool operator==(const ExpandedText&) const = default;
};

/// Both take the texts that `context` has registered and begin with no name included.
ExpandedText ExpandedByProduct(IncludeContext& context, std::string_view text);
ExpandedText ExpandedLiterally(IncludeContext& context, const std::string& text);

/// The walk back from position `p` that decides whether `p` stands inside a block comment.
bool InsideCommentLiterally(const std::string& text, std::ptrdiff_t p, bool flag);

}  // namespace pixelforge
