// What the host leaves on drive D: so that the module finds the shader, and takes away again.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace pixelforge::preview {

/// The module reads playlists from one fixed folder on drive D:, and a playlist line names a document
/// in at most 19 UTF-16 units. So a document is copied to a file with a name of exactly that length,
/// and a one-line playlist names it. Names are drawn at random and files are only ever created new:
/// several hosts may run side by side. The end of the object's life removes its files, and the folders
/// that it had to make as far as no other host still uses them.
class ShaderDrop {
public:
    /// Both throw `HostError` with `WrongUsage` when drive D: is missing or cannot be written.
    static ShaderDrop OfDocument(std::span<const std::uint8_t> document);
    static ShaderDrop OfPlaylist(std::span<const std::uint8_t> playlist);

    ShaderDrop(ShaderDrop&&) noexcept = default;
    ShaderDrop& operator=(ShaderDrop&&) = delete;
    ~ShaderDrop() { Remove(); }

    /// Name within the playlist folder, for the control "Playlist File(s)".
    const std::string& PlaylistName() const noexcept { return playlistName_; }

    /// The document's copy, 19 units; empty for a playlist.
    const std::wstring& AliasPath() const noexcept { return aliasPath_; }

    /// Writes the document's copy anew. Throws `HostError` with `Failed`.
    void ReplaceDocument(std::span<const std::uint8_t> document);

    void Remove() noexcept;

private:
    ShaderDrop() = default;
    void MakeFolders();
    std::wstring WriteNewFile(std::wstring_view start, std::wstring_view end,
                              std::span<const std::uint8_t> bytes);
    void WritePlaylist(std::span<const std::uint8_t> playlist);

    std::vector<std::wstring> createdFolders_;  ///< outermost first
    std::vector<std::wstring> createdFiles_;
    std::string playlistName_;
    std::wstring aliasPath_;
};

}  // namespace pixelforge::preview
