// The shader that the user named and the files that belong to it, staged for the module and kept up to date.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "preview/documents/editor_lines.h"
#include "preview/host/file_paths.h"
#include "preview/host/staged_shader.h"

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

/// Throws `HostError` with `WrongUsage` if the file cannot be read.
ShaderSource ReadShaderSource(const UserPath& file, const UserPath& include);

/// The factories throw as `StagedShader` does, and `HostError` with `WrongUsage` for an unreadable file.
class OpenedShader {
public:
    static OpenedShader OfIdentifier(const std::string& identifier);
    static OpenedShader OfPlaylist(const std::wstring& absolutePath);

    /// `picture` is a path for channel 0 of the shader's image, or empty.
    static OpenedShader OfFile(const UserPath& file, const UserPath& include,
                               const std::string& picture = {});

    StagedShader& Staged() noexcept { return staged_; }
    const std::string& Conversion() const noexcept { return source_.conversion; }

    /// With any of these the staged document is empty, so that the module cannot load it.
    const std::vector<std::string>& Errors() const noexcept { return source_.errors; }
    const std::vector<std::string>& Warnings() const noexcept { return source_.warnings; }
    const SourceNames& Names() const noexcept { return source_.names; }

    /// For each frame: stages the shader again once per change of its files. Returns true if so: the module
    /// must reload. A file that cannot be read may still be being written and is retried later.
    bool Refresh();

private:
    explicit OpenedShader(StagedShader staged) : staged_(std::move(staged)) {}
    void Stage();

    StagedShader staged_;
    UserPath file_;     ///< empty for a playlist and for an identifier
    UserPath include_;  ///< folder of include files
    ShaderSource source_;
    std::string picture_;                ///< see `OfFile`
    std::vector<std::uint32_t> stamps_;  ///< times and sizes of the files
    bool changed_ = false;
    std::chrono::steady_clock::time_point lastPoll_;
};

}  // namespace pixelforge::preview
