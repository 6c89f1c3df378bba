// Queries the system for the host's folders and publishes them.
#include "module/host_folders.h"

#include <windows.h>

#include <shlobj.h>

#include "service/shader_cache.h"

namespace pixelforge {
namespace {

using PathField = wchar_t[kPathUnits];

/// Entries that the module itself uses.
constexpr std::size_t kModuleDataPath = 21;
constexpr std::size_t kCacheRootPath = 22;

/// The host framework's standard paths, in its order; expanded in place. The file names of the host's library
/// and other tool (entries 14 and 18) are placeholders: nothing here opens them.
PathField standardPaths[] = {
    L"%EXE_BASEFOLDER%",
    L"%DLL_BASEFOLDER%",
    L"%DAT_BASEFOLDER%",
    L"%DAT_BASEFOLDER%\\Globals.XML",
    L"%DAT_BASEFOLDER%\\Favorites.XML",
    L"%DAT_BASEFOLDER%\\Presets",
    L"%DAT_BASEFOLDER%\\Presets\\*.KV",
    L"%DLL_BASEFOLDER%\\*.DLL",
    L"%DAT_BASEFOLDER%\\Fragments",
    L"%DAT_BASEFOLDER%\\Fragments\\*.KVF",
    L"%DAT_BASEFOLDER%\\Images",
    L"%DAT_BASEFOLDER%\\Images\\*.*",
    L"%DAT_BASEFOLDER%\\Shaders",
    L"%DAT_BASEFOLDER%\\Shaders\\*.glsl",
    L"%DLL_BASEFOLDER%\\MoonreelLibrary.dll",
    L"%DAT_BASEFOLDER%\\Palettes",
    L"%DAT_BASEFOLDER%\\Objects",
    L"%DAT_BASEFOLDER%\\ScreenShots",
    L"%EXE_BASEFOLDER%\\MoonreelTool.exe",
    L"%DAT_BASEFOLDER%\\UI",
    L"%EXE_BASEFOLDER%\\GlowBench.exe",
    L"%DAT_BASEFOLDER%\\Pixelforge",
    L"%DAT_BASEFOLDER%\\Pixelforge\\PixelforgeCache",
    L"%DAT_BASEFOLDER%\\Pixelforge\\Shaders",
    L"%DAT_BASEFOLDER%\\Pixelforge\\Shaders\\*.json",
    L"%DAT_BASEFOLDER%\\Pixelforge\\Playlists",
    L"%DAT_BASEFOLDER%\\Pixelforge\\Playlists\\*.playlist",
};

/// Empty if the path does not fit: a truncated one would name something else.
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

/// A path that does not fit becomes empty; nothing is then created there.
void ExpandInPlace(PathField& path) noexcept {
    PathField expanded = {};
    const DWORD units = ExpandEnvironmentStringsW(path, expanded, kPathUnits);
    CopyCut(path, units > 0 && units <= kPathUnits ? expanded : L"");
}

}  // namespace

void PrepareHostFolders() noexcept {
    const HostFolders folders = FindOwnHostFolders();
    Publish(folders);
    for (PathField& path : standardPaths) {
        ExpandInPlace(path);
    }
    if (folders.data[0]) {
        CreateCacheFolders(standardPaths[kModuleDataPath], standardPaths[kCacheRootPath]);
    }
}

}  // namespace pixelforge
