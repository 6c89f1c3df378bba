// Finds the folders of a host program.
#include "module/host_folders.h"

#include <algorithm>
#include <string_view>

#include "base/file.h"

namespace pixelforge {
namespace {

constexpr std::wstring_view kDebugStart = L"D:\\C\\Projects\\";
constexpr wchar_t kDebugData[] = L"D:\\Moonreel";
constexpr wchar_t kInstalledFolder[] = L"%s\\Larkvane\\Moonreel";

void CopyWithoutTrailingSlashes(wchar_t (&field)[kPathUnits], std::wstring_view path) noexcept {
    CopyCut(field, path.substr(0, path.find_last_not_of(L'\\') + 1));
}

/// Empty if the program's folder does not fit.
void CopyProgramFolder(wchar_t (&field)[kPathUnits], const wchar_t* programPath) noexcept {
    wchar_t folder[kPathUnits] = {};
    FolderOfPath(programPath, folder);
    CopyWithoutTrailingSlashes(field, folder);
}

/// The host's folder below a system folder.
void CopyInstalledFolder(wchar_t (&field)[kPathUnits], std::wstring_view parent) noexcept {
    wchar_t folder[kPathUnits];
    CopyWithoutTrailingSlashes(folder, parent);
    FormatBounded(field, kPathUnits, kInstalledFolder, folder);
}

}  // namespace

HostFolders FindHostFolders(const HostSurroundings& surroundings) noexcept {
    HostFolders folders = {};
    const wchar_t* program = surroundings.programPath;
    if (StartsWithIgnoringAsciiCase(program, kDebugStart)) {
        CopyProgramFolder(folders.program, program);
        CopyCut(folders.library, folders.program);
        CopyCut(folders.data, kDebugData);
        folders.mode = L"Debugging";
        return folders;
    }
    if (*surroundings.programFiles && StartsWithIgnoringAsciiCase(program, surroundings.programFiles)) {
        CopyInstalledFolder(folders.program, surroundings.programFiles);
        CopyInstalledFolder(folders.data, surroundings.appData);
        folders.mode = L"Installed\n";
    } else {
        CopyProgramFolder(folders.program, program);
        CopyCut(folders.data, folders.program);
        folders.mode = L"Portable\n";
    }
    FormatBounded(folders.library, kPathUnits, L"%s\\DLL", folders.program);
    return folders;
}

}  // namespace pixelforge
