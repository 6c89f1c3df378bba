// Reads the file that the user named and finds the files that belong to it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "preview/documents/editor_lines.h"

namespace pixelforge::preview {

struct ShaderSource {
    std::string document;               ///< in the module's format
    std::string conversion;             ///< how the file was converted, for the user; empty if unchanged
    std::vector<std::string> errors;    ///< of a plain shader's comment lines, see `CommentLines`
    std::vector<std::string> warnings;  ///< what the module ignores in silence, and absent devices
    SourceNames names;

    /// Absolute paths of every file that may belong to the shader, existing or not: the named file, its
    /// passes, include files and media.
    std::vector<std::wstring> files;
};

struct IncludeFolder {
    std::wstring path = {};  ///< absolute, or empty
    std::string name = {};   ///< as the user wrote it
};

/// `name` is the path as the user wrote it. Throws `HostError` with `WrongUsage` if the file cannot be read.
ShaderSource ReadShaderSource(const std::wstring& absolutePath, const IncludeFolder& include,
                              const std::string& name);

}  // namespace pixelforge::preview
