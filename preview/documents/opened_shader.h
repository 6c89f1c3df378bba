// The shader that the user named, staged for the module and kept up to date with its files.
#pragma once

#include <optional>
#include <string>

#include "preview/documents/file_watch.h"
#include "preview/host/staged_shader.h"

namespace pixelforge::preview {

/// Paths are absolute. The factories throw as `StagedShader` does, and `HostError` with `WrongUsage` for a
/// file that cannot be read.
class OpenedShader {
public:
    static OpenedShader OfIdentifier(const std::string& identifier);
    static OpenedShader OfPlaylist(const std::wstring& path);

    /// The include folder may be empty.
    static OpenedShader OfFile(const std::wstring& path, const std::wstring& includeFolder);

    StagedShader& Staged() noexcept { return staged_; }

    /// How the document was made of the file; empty if it is unchanged.
    const std::string& Conversion() const noexcept { return conversion_; }

    /// Stages the shader again if one of its files has changed. True if so: the module has to reload. A file
    /// that cannot be read is taken as still being written and tried again later.
    bool Refresh();

private:
    explicit OpenedShader(StagedShader staged) : staged_(std::move(staged)) {}

    StagedShader staged_;
    std::wstring path_;
    std::wstring includeFolder_;
    std::string conversion_;
    std::optional<FileWatch> watch_;
};

}  // namespace pixelforge::preview
