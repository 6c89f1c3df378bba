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
constexpr std::wstring_view kNameStart = L"preview-";
constexpr std::wstring_view kNameEnd = L".playlist";
static_assert(kAliasStart.size() + kTagUnits == kLongestPlaylistLine);

/// Another host may remove the empty folders just before the file is created.
constexpr int kCreationAttempts = 10;

constexpr std::wstring_view kDigits = L"0123456789abcdefghijklmnopqrstuvwxyz";

std::wstring RandomTag() {
    std::uint32_t number = SystemRandom();
    std::wstring tag;
    for (std::size_t i = 0; i < kTagUnits; ++i) {
        tag += kDigits[number % kDigits.size()];
        number /= static_cast<std::uint32_t>(kDigits.size());
    }
    return tag;
}

std::wstring AliasOf(std::wstring_view tag) {
    return std::wstring(kAliasStart) + std::wstring(tag);
}

std::wstring PlaylistNameOf(std::wstring_view tag) {
    return std::wstring(kNameStart) + std::wstring(tag) + std::wstring(kNameEnd);
}

std::wstring InPlaylistFolder(const std::wstring& name) {
    return std::wstring(kFolders[2]) + L"\\" + name;
}

std::wstring MutexOf(std::wstring_view tag) {
    return L"Global\\pixelforge-preview-" + std::wstring(tag);
}

/// Any error but "not found" means that the mutex exists: another user's may be inaccessible.
bool IsAlive(std::wstring_view tag) {
    const UniqueKernelHandle mutex(OpenMutexW(SYNCHRONIZE, FALSE, MutexOf(tag).c_str()));
    return mutex || GetLastError() != ERROR_FILE_NOT_FOUND;
}

/// The tag in a playlist's name; empty if the name is not one of ours.
std::wstring TagOf(const std::wstring& name) {
    const bool fits = name.size() == kNameStart.size() + kTagUnits + kNameEnd.size();
    const std::wstring tag = fits ? name.substr(kNameStart.size(), kTagUnits) : std::wstring();
    const bool ours = name == PlaylistNameOf(tag) && tag.find_first_not_of(kDigits) == std::wstring::npos;
    return ours ? tag : std::wstring();
}

std::vector<std::wstring> TagsInPlaylistFolder() {
    std::vector<std::wstring> tags;
    WIN32_FIND_DATAW found = {};
    const HANDLE search = FindFirstFileW(InPlaylistFolder(PlaylistNameOf(L"*")).c_str(), &found);
    for (BOOL more = search != INVALID_HANDLE_VALUE; more; more = FindNextFileW(search, &found)) {
        if (const std::wstring tag = TagOf(found.cFileName); !tag.empty()) {
            tags.push_back(tag);
        }
    }
    FindClose(search);
    return tags;
}

/// The alias first: while it exists, so does the playlist that leads to it.
void RemoveLeftovers() {
    bool any = false;
    for (const std::wstring& tag : TagsInPlaylistFolder()) {
        if (!IsAlive(tag)) {
            DeleteFileW(AliasOf(tag).c_str());
            DeleteFileW(InPlaylistFolder(PlaylistNameOf(tag)).c_str());
            any = true;
        }
    }
    // That program probably created them; a folder that is not empty stays.
    for (std::size_t i = std::size(kFolders); any && i > 0; --i) {
        RemoveDirectoryW(kFolders[i - 1]);
    }
}

[[noreturn]] void RejectDrive(const std::string& problem) {
    throw HostError(ExitStatus::WrongUsage,
                    WithLastError(problem) + ": the module reads playlists only from " + ToUtf8(kFolders[2]) +
                        ", so drive D: must exist and be writable");
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
    staged.WritePlaylist(BytesOf(ToUtf8(staged.aliasPath_) + "\r\n"));
    staged.WriteNewFile(staged.aliasPath_, document);
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

void StagedShader::WriteNewFile(const std::wstring& path, std::span<const std::uint8_t> bytes) {
    UniqueKernelHandle file;
    for (int attempt = 0; !file && attempt < kCreationAttempts; ++attempt) {
        MakeFolders();
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
}

void StagedShader::WritePlaylist(std::span<const std::uint8_t> playlist) {
    const std::wstring name = PlaylistNameOf(tag_);
    WriteNewFile(InPlaylistFolder(name), playlist);
    playlistName_ = ToUtf8(name);
}

void StagedShader::ReplaceDocument(std::span<const std::uint8_t> document) {
    WriteOutputFile(aliasPath_, document);
}

void StagedShader::ReplacePlaylist(std::span<const std::uint8_t> playlist) {
    WriteOutputFile(InPlaylistFolder(PlaylistNameOf(tag_)), playlist);
}

void StagedShader::Remove() noexcept {
    for (auto file = createdFiles_.rbegin(); file != createdFiles_.rend(); ++file) {
        DeleteFileW(file->c_str());
    }
    for (auto folder = createdFolders_.rbegin(); folder != createdFolders_.rend(); ++folder) {
        RemoveDirectoryW(folder->c_str());
    }
    createdFiles_.clear();
    createdFolders_.clear();
}

}  // namespace pixelforge::preview
