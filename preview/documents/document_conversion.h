// Converts plain shader files, and documents that lack the outer "Shader" object, to shader documents.
#pragma once

#include <rapidjson/document.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "preview/documents/comment_lines.h"
#include "preview/documents/editor_lines.h"

namespace pixelforge::preview {

/// Between a plain shader's name and its extension for every pass but the image, as in "plasma.a.glsl".
inline constexpr std::string_view kPassFileStems[] = {"common", "a", "b", "c", "d", "cube"};

struct MadeDocument {
    std::string json;                 ///< UTF-8
    std::vector<std::string> errors;  ///< of comment lines, see `CommentLines`
    std::vector<InputPlace> inputs;   ///< likewise
    std::vector<ShaderText> texts;    ///< of the passes
};

/// The document of these passes, the image first. `stem` is the shader's file name without extension: the
/// document's id and, without a comment line for it, its name. If no comment line names an input, every pass
/// has the same ones: each existing Buffer A to D on channels 0 to 3 in that order; then Cube A, if it
/// exists, and the keyboard on the first free ones.
MadeDocument DocumentOfPassFiles(std::string_view stem, const std::vector<PassFile>& passes,
                                 const FileExists& exists);

/// The document with this file as a picture on channel 0 of its image, instead of the input there. Unchanged
/// if it has no image pass. UTF-8.
std::string WithPicture(std::string_view document, std::string_view path);

/// The same shader in the module's format. The other format in circulation lacks the enclosing "Shader" (and
/// may be an array), calls an input's kind "type" and its file "filepath", and uses text ids. std::nullopt
/// for any other text. UTF-8.
std::optional<std::string> ConvertBareDocument(std::string_view document);

/// The text at a JSON pointer ("/info/name"); empty if there is none.
std::string_view TextAt(const rapidjson::Value& value, const char* pointer);

/// The objects in the array at a JSON pointer; none if there is no array.
std::vector<const rapidjson::Value*> ObjectsAt(const rapidjson::Value& value, const char* pointer);

}  // namespace pixelforge::preview
