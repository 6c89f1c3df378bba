// The files on drive D: through which the module finds the shader.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "base/win_handles.h"

namespace pixelforge::preview {

/// The module reads playlists from one fixed folder on drive D:, and a playlist line holds at most 19
/// UTF-16 units. So a document is copied to a path of exactly that length, and a one-line playlist names
/// it. File names are random, so several hosts may run at the same time. The destructor removes the files
/// and, if they are empty, the folders; the next staged shader removes what a killed program has left.
class StagedShader {
public:
    /// Both throw `HostError` with `WrongUsage` if drive D: is missing or not writable.
    static StagedShader OfDocument(std::span<const std::uint8_t> document);
    static StagedShader OfPlaylist(std::span<const std::uint8_t> playlist);

    StagedShader(StagedShader&&) noexcept = default;
    StagedShader& operator=(StagedShader&&) = delete;
    ~StagedShader() { Remove(); }

    /// File name in the playlist folder, for the control "Playlist File(s)".
    std::string PlaylistName() const;

    /// Path of the document's copy, 19 units; empty for a playlist.
    const std::wstring& AliasPath() const noexcept { return aliasPath_; }

    /// Replaces the document's copy. Throws `HostError` with `Failed`.
    void ReplaceDocument(std::span<const std::uint8_t> document);

    /// Replaces the playlist's text. Throws `HostError` with `Failed`.
    void ReplacePlaylist(std::span<const std::uint8_t> playlist);

    void Remove() noexcept;

private:
    StagedShader();

    std::wstring tag_;          ///< part of both file names
    UniqueKernelHandle alive_;  ///< a mutex with the tag in its name, gone when the program ends
    std::wstring aliasPath_;
};

}  // namespace pixelforge::preview
