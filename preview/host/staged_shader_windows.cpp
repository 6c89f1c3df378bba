// Writes a document's copy and its playlist to drive D: and removes them.
#include "preview/host/staged_shader.h"

#include <windows.h>

#include "base/file.h"
#include "base/random.h"
#include "base/text.h"
#include "base/win_handles.h"
#include "preview/host/file_paths.h"
#include "preview/host/host_error.h"

namespace pixelforge::preview {
namespace {

constexpr const wchar_t* kFolders[] = {L"D:\\Moonreel", L"D:\\Moonreel\\Pixelforge",
                                       L"D:\\Moonreel\\Pixelforge\\Playlists"};
constexpr std::wstring_view kAliasStart = L"D:\\Moonreel\\p";
constexpr std::size_t kTagUnits = 6;
constexpr std::size_t kLongestPlaylistLine = 19;
static_assert(kAliasStart.size() + kTagUnits == kLongestPlaylistLine);

/// A name may exist already, although six base-36 digits make that unlikely, and another host may remove
/// the empty folders just before the file is created.
constexpr int kCreationAttempts = 10;

std::wstring RandomTag() {
    constexpr std::wstring_view kDigits = L"0123456789abcdefghijklmnopqrstuvwxyz";
    std::uint32_t number = SystemRandom();
    std::wstring tag;
    for (std::size_t i = 0; i < kTagUnits; ++i) {
        tag += kDigits[number % kDigits.size()];
        number /= static_cast<std::uint32_t>(kDigits.size());
    }
    return tag;
}

[[noreturn]] void RejectDrive(const std::string& problem) {
    throw HostError(ExitStatus::WrongUsage,
                    WithLastError(problem) + ": the module reads playlists only from " + ToUtf8(kFolders[2]) +
                        ", so drive D: must exist and be writable");
}

}  // namespace

StagedShader StagedShader::OfDocument(std::span<const std::uint8_t> document) {
    StagedShader staged;
    staged.aliasPath_ = staged.WriteNewFile(kAliasStart, {}, document);
    staged.WritePlaylist(BytesOf(ToUtf8(staged.aliasPath_) + "\r\n"));
    return staged;
}

StagedShader StagedShader::OfPlaylist(std::span<const std::uint8_t> playlist) {
    StagedShader staged;
    staged.WritePlaylist(playlist);
    return staged;
}

void StagedShader::MakeFolders() {
    for (const wchar_t* folder : kFolders) {
        if (CreateDirectoryW(folder, nullptr)) {
            createdFolders_.emplace_back(folder);
        } else if (GetLastError() == ERROR_PATH_NOT_FOUND && folder != kFolders[0]) {
            return;  // another host has just removed the outer folder
        } else if (GetLastError() != ERROR_ALREADY_EXISTS) {
            RejectDrive("cannot create the folder " + ToUtf8(folder));
        }
    }
}

std::wstring StagedShader::WriteNewFile(std::wstring_view start, std::wstring_view end,
                                        std::span<const std::uint8_t> bytes) {
    std::wstring path;
    UniqueKernelHandle file;
    for (int attempt = 0; !file && attempt < kCreationAttempts; ++attempt) {
        MakeFolders();
        path = std::wstring(start) + RandomTag() + std::wstring(end);
        file = AdoptFileHandle(
            CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    }
    if (!file) {
        RejectDrive("cannot create the file " + ToUtf8(path));
    }
    createdFiles_.push_back(path);
    if (!WriteAll(file.Get(), bytes)) {
        RejectDrive("cannot write the file " + ToUtf8(path));
    }
    return path;
}

void StagedShader::WritePlaylist(std::span<const std::uint8_t> playlist) {
    const std::wstring folder = std::wstring(kFolders[2]) + L"\\";
    const std::wstring path = WriteNewFile(folder + L"preview-", L".playlist", playlist);
    playlistName_ = ToUtf8(path.substr(folder.size()));
}

void StagedShader::ReplaceDocument(std::span<const std::uint8_t> document) {
    WriteOutputFile(aliasPath_, document);
}

void StagedShader::Remove() noexcept {
    for (const std::wstring& file : createdFiles_) {
        DeleteFileW(file.c_str());
    }
    for (auto folder = createdFolders_.rbegin(); folder != createdFolders_.rend(); ++folder) {
        RemoveDirectoryW(folder->c_str());
    }
    createdFiles_.clear();
    createdFolders_.clear();
}

}  // namespace pixelforge::preview
