// Which files a shader's texts name.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pixelforge::preview {

/// The names in "#include" lines and the values of "src", from GLSL as well as from GLSL inside JSON.
/// Names may turn out not to be files; each comes once.
std::vector<std::string> NamedFiles(std::string_view text);

}  // namespace pixelforge::preview
