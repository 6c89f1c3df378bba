// How the shader that the user named reaches the module, once and after every change.
#pragma once

#include <optional>
#include <string>

#include "preview/documents/file_watch.h"
#include "preview/host/shader_drop.h"

namespace pixelforge::preview {

/// All paths are absolute. The makers throw `HostError` with `WrongUsage` for a file that cannot be read,
/// and as `ShaderDrop` does.
class ShaderHandover {
public:
    static ShaderHandover OfIdentifier(const std::string& identifier);
    static ShaderHandover OfPlaylist(const std::wstring& path);

    /// The include folder may be empty.
    static ShaderHandover OfFile(const std::wstring& path, const std::wstring& includeFolder);

    ShaderDrop& Drop() noexcept { return drop_; }
    const ShaderDrop& Drop() const noexcept { return drop_; }

    /// What was done to make a document of the file; empty for nothing.
    const std::string& Remark() const noexcept { return remark_; }

    /// True when a file of the shader has changed and the module is to load anew. A file that cannot be
    /// read at that moment counts as one that is still being written.
    bool Refresh();

private:
    explicit ShaderHandover(ShaderDrop drop) : drop_(std::move(drop)) {}

    ShaderDrop drop_;
    std::wstring path_;
    std::wstring includeFolder_;
    std::string remark_;
    std::optional<FileWatch> watch_;
};

}  // namespace pixelforge::preview
