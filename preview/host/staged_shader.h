// The files on drive D: through which the module finds the shader.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "base/win_handles.h"

namespace pixelforge::preview {

/// The module reads playlists from one fixed folder on drive D:, and a playlist line holds at most 19
/// UTF-16 units. So a document is copied to a path of exactly that length, and a one-line playlist names
/// it. File names are random, so several hosts may run at the same time. The system removes the files
/// when this or the program ends, or else the next staged shader does; the destructor removes the folders if
/// they are empty.
class StagedShader {
public:
    /// Both throw `HostError` with `WrongUsage` if drive D: is missing or not writable.
    static StagedShader OfDocument(std::span<const std::uint8_t> document);
    static StagedShader OfPlaylist(std::span<const std::uint8_t> playlist);

    StagedShader(StagedShader&&) noexcept = default;
    StagedShader& operator=(StagedShader&&) = delete;
    ~StagedShader();

    /// File name in the playlist folder, for the control "Playlist File(s)".
    std::string PlaylistName() const;

    /// Of the document's copy, 19 units, or else of the playlist's.
    const std::wstring& Path() const noexcept { return path_; }

    /// Replaces the document's copy or else the playlist. Throws `HostError` with `Failed`.
    void Replace(std::span<const std::uint8_t> bytes);

private:
    StagedShader() = default;

    std::wstring tag_;  ///< part of both file names
    std::wstring path_;
    UniqueKernelHandle playlist_;  ///< the last handle to each file, which deletes it
    UniqueKernelHandle alias_;
};

}  // namespace pixelforge::preview
