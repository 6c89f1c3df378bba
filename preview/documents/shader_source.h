// Opens what the user named: a document in either form, or a plain shader file.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace pixelforge::preview {

struct ShaderSource {
    std::vector<std::uint8_t> document;  ///< in the form that the module reads
    std::string remark;                  ///< what was done to get there, for the user; empty for nothing

    /// Absolute paths of every file that the shader is or may be made of, also of those that are not
    /// there: the named file, its passes, its include and media files.
    std::vector<std::wstring> files;
};

/// `includeFolder` is absolute or empty. Throws `HostError` with `WrongUsage` when the file cannot be read.
ShaderSource OpenShader(const std::wstring& absolutePath, const std::wstring& includeFolder);

}  // namespace pixelforge::preview
