// The shader that the user named, staged for the module and kept up to date with its files.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "preview/documents/shader_source.h"
#include "preview/host/staged_shader.h"

namespace pixelforge::preview {

/// Polls sizes and times a few times a second. Polling works however an editor replaces a file, and there are
/// few files.
class FileWatch {
public:
    explicit FileWatch(std::vector<std::wstring> files) { Watch(std::move(files)); }

    /// Replaces the list; files need not exist. Their current state is the baseline.
    void Watch(std::vector<std::wstring> files);

    /// True once per change, one interval after the last modification, because editors may write a file in
    /// several steps. Cheap enough to call every frame.
    bool Changed();

    /// Reports the last change once more, for a file that could not be read yet.
    void ReportAgain() { changing_ = true; }

private:
    /// Time and size, the high halves first; zeros for a file that does not exist.
    using Stamp = std::array<std::uint32_t, 4>;
    std::vector<Stamp> ReadStamps() const;

    std::vector<std::wstring> files_;
    std::vector<Stamp> stamps_;
    bool changing_ = false;
    std::chrono::steady_clock::time_point lastPoll_;
};

/// Paths are absolute. The factories throw as `StagedShader` does, and `HostError` with `WrongUsage` for a
/// file that cannot be read.
class OpenedShader {
public:
    static OpenedShader OfIdentifier(const std::string& identifier);
    static OpenedShader OfPlaylist(const std::wstring& path);

    /// `name` is the path as the user wrote it.
    static OpenedShader OfFile(const std::wstring& path, const IncludeFolder& include,
                               const std::string& name);

    StagedShader& Staged() noexcept { return staged_; }

    /// How the file was converted to a document; empty if it was not.
    const std::string& Conversion() const noexcept { return source_.conversion; }

    /// What is wrong with a plain shader's comment lines. Its document is staged empty, so that the module
    /// cannot load it.
    const std::vector<std::string>& Errors() const noexcept { return source_.errors; }

    const std::vector<std::string>& Warnings() const noexcept { return source_.warnings; }
    const SourceNames& Names() const noexcept { return source_.names; }

    /// Stages the shader again if one of its files has changed. Returns true if so: the module must reload. A
    /// file that cannot be read is assumed to be still being written and is retried later.
    bool Refresh();

    /// Stages the shader again with this picture on channel 0 of its image. Throws `HostError`. Only for a
    /// shader from a file.
    void UsePicture(const std::string& path);

private:
    explicit OpenedShader(StagedShader staged) : staged_(std::move(staged)) {}
    void StageAgain();

    StagedShader staged_;
    std::wstring path_;
    IncludeFolder include_;
    ShaderSource source_;
    std::optional<FileWatch> watch_;
    std::string picture_;  ///< see `UsePicture`
};

}  // namespace pixelforge::preview
