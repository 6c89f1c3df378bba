// Converts plain shader files, and documents that lack the outer "Shader" object, to shader documents.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace pixelforge::preview {

/// One plain shader file.
struct PassFile {
    std::string stem;  ///< which pass: "image", "common", "a" to "d", "cube"
    std::string code;  ///< UTF-8
};

/// Between a plain shader's name and its extension for every pass but the image, as in "plasma.a.glsl".
inline constexpr std::string_view kPassFileStems[] = {"common", "a", "b", "c", "d", "cube"};

/// The document of these passes as UTF-8 JSON. Every pass with inputs has the same channels: each existing
/// Buffer A to D on 0 to 3 in that order; then Cube A, if it exists, and the keyboard on the first free
/// ones.
std::string DocumentOfPassFiles(std::string_view name, const std::vector<PassFile>& passes);

/// The same shader in the module's format. The other format in circulation lacks the enclosing "Shader" (and
/// may be an array), calls an input's kind "type" and its file "filepath", and uses text ids. std::nullopt
/// for any other text. UTF-8.
std::optional<std::string> ConvertBareDocument(std::string_view document);

}  // namespace pixelforge::preview
