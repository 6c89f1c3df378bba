// Writes a document's copy and its playlist to drive D:.
#include "preview/host/staged_shader.h"

#include <windows.h>

#include <algorithm>
#include <cwchar>
#include <filesystem>
#include <iterator>
#include <regex>
#include <system_error>

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

std::wstring AliasOf(const std::wstring& tag) {
    return L"D:\\Moonreel\\p" + tag;
}

std::wstring PlaylistOf(const std::wstring& tag) {
    return std::wstring(kFolders[2]) + L"\\preview-" + tag + L".playlist";
}

/// Wine may keep the files of a program that was killed. Those that are in use cannot be deleted.
void RemoveLeftovers() {
    static const std::wregex ours(L"preview-([0-9a-f]{6})\\.playlist");
    std::error_code error;
    std::wsmatch found;
    for (const auto& entry : std::filesystem::directory_iterator(kFolders[2], error)) {
        const std::wstring name = entry.path().filename();
        if (std::regex_match(name, found, ours)) {
            DeleteFileW(AliasOf(found[1]).c_str());
            DeleteFileW(PlaylistOf(found[1]).c_str());
        }
    }
}

/// An empty file that lives as long as its handle and cannot be deleted meanwhile. Others can open it only if
/// they share deletion.
UniqueKernelHandle CreateTemporary(const std::wstring& path) {
    UniqueKernelHandle file;
    for (int attempt = 0; !file && attempt < kCreationAttempts; ++attempt) {
        for (const wchar_t* folder : kFolders) {
            CreateDirectoryW(folder, nullptr);
        }
        file = AdoptFileHandle(CreateFileW(path.c_str(), DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
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
    RemoveLeftovers();
    wchar_t tag[7];
    std::swprintf(tag, std::size(tag), L"%06x", static_cast<unsigned>(SystemRandom() & 0xFFFFFF));
    staged.tag_ = tag;
    staged.path_ = PlaylistOf(tag);
    staged.playlist_ = CreateTemporary(staged.path_);
    staged.Replace(playlist);
    return staged;
}

StagedShader StagedShader::OfDocument(std::span<const std::uint8_t> document) {
    StagedShader staged = OfPlaylist({});
    staged.path_ = AliasOf(staged.tag_);
    staged.alias_ = CreateTemporary(staged.path_);
    Write(PlaylistOf(staged.tag_), BytesOf(ToUtf8(staged.path_) + "\r\n"));
    staged.Replace(document);
    return staged;
}

StagedShader::~StagedShader() {
    playlist_.Reset();
    alias_.Reset();
    // Folders that are not empty stay.
    std::for_each(std::rbegin(kFolders), std::rend(kFolders), RemoveDirectoryW);
}

std::string StagedShader::PlaylistName() const {
    return ToUtf8(FileNameOf(PlaylistOf(tag_)));
}

void StagedShader::Replace(std::span<const std::uint8_t> bytes) {
    Write(path_, bytes);
}

}  // namespace pixelforge::preview
