// Writes a document's copy and its playlist to drive D:.
#include "preview/host/staged_shader.h"

#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <iterator>

#include "base/file.h"
#include "base/random.h"
#include "base/text.h"
#include "preview/host/file_paths.h"
#include "preview/host/host_error.h"

namespace pixelforge::preview {
namespace {

constexpr const wchar_t* kFolders[] = {L"D:\\Moonreel", L"D:\\Moonreel\\Pixelforge",
                                       L"D:\\Moonreel\\Pixelforge\\Playlists"};

/// Another host may remove the empty folders just before the file is created.
constexpr int kCreationAttempts = 10;

/// A path whose "%06x" is a random number.
std::wstring RandomPath(const wchar_t* format) {
    wchar_t path[kPathUnits];
    std::swprintf(path, std::size(path), format, static_cast<unsigned>(SystemRandom() & 0xFFFFFF));
    return path;
}

/// An empty file that lives as long as its handle. Others can open it only if they share deletion.
UniqueKernelHandle CreateTemporary(const std::wstring& path) {
    UniqueKernelHandle file;
    for (int attempt = 0; !file && attempt < kCreationAttempts; ++attempt) {
        for (const wchar_t* folder : kFolders) {
            CreateDirectoryW(folder, nullptr);
        }
        file = AdoptFileHandle(CreateFileW(path.c_str(), DELETE,
                                           FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                           CREATE_NEW, FILE_FLAG_DELETE_ON_CLOSE, nullptr));
    }
    if (!file) {
        throw HostError(ExitStatus::WrongUsage, WithLastError("cannot create the file " + ToUtf8(path)) +
                                                    ": the module reads playlists only from " +
                                                    ToUtf8(kFolders[2]) +
                                                    ", so drive D: must exist and be writable");
    }
    return file;
}

void Write(const std::wstring& path, std::span<const std::uint8_t> bytes) {
    const auto file = AdoptFileHandle(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_DELETE, nullptr,
                                                  TRUNCATE_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file || !WriteAll(file.Get(), bytes)) {
        throw HostError(ExitStatus::Failed, WithLastError("cannot write " + ToUtf8(path)));
    }
}

}  // namespace

StagedShader StagedShader::OfPlaylist(std::span<const std::uint8_t> playlist) {
    StagedShader staged;
    staged.playlistPath_ = RandomPath(L"D:\\Moonreel\\Pixelforge\\Playlists\\preview-%06x.playlist");
    staged.playlist_ = CreateTemporary(staged.playlistPath_);
    Write(staged.playlistPath_, playlist);
    return staged;
}

StagedShader StagedShader::OfDocument(std::span<const std::uint8_t> document) {
    const std::wstring alias = RandomPath(L"D:\\Moonreel\\p%06x");
    StagedShader staged = OfPlaylist(BytesOf(ToUtf8(alias) + "\r\n"));
    staged.aliasPath_ = alias;
    staged.alias_ = CreateTemporary(alias);
    Write(alias, document);
    return staged;
}

StagedShader::~StagedShader() {
    playlist_.Reset();
    alias_.Reset();
    // Folders that are not empty stay.
    std::for_each(std::rbegin(kFolders), std::rend(kFolders), RemoveDirectoryW);
}

std::string StagedShader::PlaylistName() const {
    return ToUtf8(FileNameOf(playlistPath_));
}

void StagedShader::Replace(std::span<const std::uint8_t> bytes) {
    Write(aliasPath_.empty() ? playlistPath_ : aliasPath_, bytes);
}

}  // namespace pixelforge::preview
