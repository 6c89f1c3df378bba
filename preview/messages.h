// How the module's messages are shown to the user.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pixelforge::preview {

/// Each different line once, in the order of first appearance, with `alias` (a path that the user never
/// typed) replaced by `name` and without the module's own name in front. An empty alias replaces nothing.
std::vector<std::string> ReadableLines(const std::vector<std::string>& lines, std::string_view alias,
                                       std::string_view name);

}  // namespace pixelforge::preview
