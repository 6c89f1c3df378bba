// The expansion written down step by step, without regard to cost; the product is compared with it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "glsl/include_preprocessor.h"

namespace pixelforge::literal {

/// The walk back from position `p` that decides whether `p` stands inside a block comment.
bool InsideComment(const std::string& text, std::ptrdiff_t p, bool flag);

struct Expansion {
    std::string output;
    std::uint32_t line = 1;
};

/// Names are resolved by the product's `ResolveInclude` in `context`.
bool Expand(IncludeContext& context, std::string text, Expansion& expansion, std::uint32_t depth);

}  // namespace pixelforge::literal
