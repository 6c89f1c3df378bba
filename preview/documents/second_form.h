// The other form in which shader documents circulate as files.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace pixelforge::preview {

/// That form has no "Shader" around it (an array may be), names an input's kind "type" and its file
/// "filepath", and has texts for ids. Returns the same shader in the form that the module reads, or nothing
/// for every other text. UTF-8.
std::optional<std::string> TranslateSecondForm(std::string_view document);

}  // namespace pixelforge::preview
