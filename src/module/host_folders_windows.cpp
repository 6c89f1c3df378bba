// Asks the system for the host's folders and publishes them.
#include <windows.h>

#include <shlobj.h>

#include "module/host_folders.h"
#include "module/standard_paths.h"
#include "service/shader_cache.h"

namespace pixelforge {
namespace {

const wchar_t* installationMode = L"Unknown";

/// Empty when the path does not fit: a cut one would name something else.
void ReadProgramPath(PathField& path) noexcept {
    const DWORD length = GetModuleFileNameW(nullptr, path, kPathUnits);
    if (length >= kPathUnits) {
        path[0] = L'\0';
    }
}

void ReadSystemFolder(int folder, PathField& path) noexcept {
    if (FAILED(SHGetFolderPathW(nullptr, folder, nullptr, SHGFP_TYPE_CURRENT, path))) {
        path[0] = L'\0';
    }
}

HostFolders FindOwnHostFolders() noexcept {
    PathField program = {};
    PathField programFiles = {};
    PathField appData = {};
    ReadProgramPath(program);
    ReadSystemFolder(CSIDL_PROGRAM_FILES, programFiles);
    ReadSystemFolder(CSIDL_APPDATA, appData);
    return FindHostFolders({.programPath = program, .programFiles = programFiles, .appData = appData});
}

void Publish(const HostFolders& folders) noexcept {
    SetEnvironmentVariableW(L"EXE_BASEFOLDER", folders.program);
    SetEnvironmentVariableW(L"DLL_BASEFOLDER", folders.library);
    SetEnvironmentVariableW(L"DAT_BASEFOLDER", folders.data);
}

/// A path that does not fit becomes empty, and what would have been made there is left out.
void ExpandInPlace(PathField& path) noexcept {
    PathField expanded = {};
    const DWORD units = ExpandEnvironmentStringsW(path, expanded, kPathUnits);
    CopyCut(path, units > 0 && units <= kPathUnits ? expanded : L"");
}

}  // namespace

const wchar_t* InstallationMode() noexcept {
    return installationMode;
}

void PrepareHostFolders() noexcept {
    const HostFolders folders = FindOwnHostFolders();
    installationMode = folders.mode;
    Publish(folders);
    for (PathField& path : standardPaths) {
        ExpandInPlace(path);
    }
    if (folders.data[0]) {
        CreateCacheFolders(standardPaths[kModuleDataPath], standardPaths[kCacheRootPath]);
    }
}

}  // namespace pixelforge
