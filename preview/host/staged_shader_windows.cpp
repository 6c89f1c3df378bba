// Writes a document's copy and its playlist to drive D: and removes them.
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

/// Six digits, for a path of exactly 19 units.
std::wstring RandomTag() {
    wchar_t tag[7];
    std::swprintf(tag, std::size(tag), L"%06x", static_cast<unsigned>(SystemRandom() & 0xFFFFFF));
    return tag;
}

std::wstring AliasOf(const std::wstring& tag) {
    return L"D:\\Moonreel\\p" + tag;
}

std::wstring PlaylistOf(const std::wstring& tag) {
    return std::wstring(kFolders[2]) + L"\\preview-" + tag + L".playlist";
}

std::wstring MutexOf(const std::wstring& tag) {
    return L"Global\\pixelforge-preview-" + tag;
}

/// Any error but "not found" means that the mutex exists: another user's may be inaccessible.
bool IsAlive(const std::wstring& tag) {
    const UniqueKernelHandle mutex(OpenMutexW(SYNCHRONIZE, FALSE, MutexOf(tag).c_str()));
    return mutex || GetLastError() != ERROR_FILE_NOT_FOUND;
}

/// Folders that are not empty stay.
void RemoveFolders() {
    std::for_each(std::rbegin(kFolders), std::rend(kFolders), RemoveDirectoryW);
}

/// The alias first: while it exists, so does the playlist that leads to it.
void RemoveFiles(const std::wstring& tag) {
    DeleteFileW(AliasOf(tag).c_str());
    DeleteFileW(PlaylistOf(tag).c_str());
    RemoveFolders();
}

void RemoveLeftovers() {
    static const std::wregex ours(L"preview-([0-9a-f]{6})\\.playlist");
    std::error_code error;
    std::vector<std::wstring> tags;
    for (const auto& entry : std::filesystem::directory_iterator(kFolders[2], error)) {
        const std::wstring name = entry.path().filename();
        if (std::wsmatch found; std::regex_match(name, found, ours)) {
            tags.push_back(found[1]);
        }
    }
    for (const std::wstring& tag : tags) {
        if (!IsAlive(tag)) {
            RemoveFiles(tag);
        }
    }
}

[[noreturn]] void RejectDrive(const std::string& problem) {
    throw HostError(ExitStatus::WrongUsage,
                    WithLastError(problem) + ": the module reads playlists only from " + ToUtf8(kFolders[2]) +
                        ", so drive D: must exist and be writable");
}

void WriteNewFile(const std::wstring& path, std::span<const std::uint8_t> bytes) {
    UniqueKernelHandle file;
    for (int attempt = 0; !file && attempt < kCreationAttempts; ++attempt) {
        for (const wchar_t* folder : kFolders) {
            CreateDirectoryW(folder, nullptr);
        }
        file = AdoptFileHandle(
            CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    }
    if (!file || !WriteAll(file.Get(), bytes)) {
        RejectDrive("cannot write the file " + ToUtf8(path));
    }
}

}  // namespace

StagedShader::StagedShader() {
    RemoveLeftovers();
    do {
        tag_ = RandomTag();
        alive_.Reset(CreateMutexW(nullptr, FALSE, MutexOf(tag_).c_str()));
    } while (alive_ && GetLastError() == ERROR_ALREADY_EXISTS);
}

StagedShader StagedShader::OfDocument(std::span<const std::uint8_t> document) {
    StagedShader staged;
    staged.aliasPath_ = AliasOf(staged.tag_);
    WriteNewFile(PlaylistOf(staged.tag_), BytesOf(ToUtf8(staged.aliasPath_) + "\r\n"));
    WriteNewFile(staged.aliasPath_, document);
    return staged;
}

StagedShader StagedShader::OfPlaylist(std::span<const std::uint8_t> playlist) {
    StagedShader staged;
    WriteNewFile(PlaylistOf(staged.tag_), playlist);
    return staged;
}

std::string StagedShader::PlaylistName() const {
    return ToUtf8(FileNameOf(PlaylistOf(tag_)));
}

void StagedShader::ReplaceDocument(std::span<const std::uint8_t> document) {
    WriteOutputFile(aliasPath_, document);
}

void StagedShader::ReplacePlaylist(std::span<const std::uint8_t> playlist) {
    WriteOutputFile(PlaylistOf(tag_), playlist);
}

void StagedShader::Remove() noexcept {
    if (alive_) {
        RemoveFiles(tag_);
    }
}

}  // namespace pixelforge::preview
