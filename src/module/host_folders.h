// The host's program, library and data folders, found the way the host finds them.
#pragma once

#include "base/text.h"

namespace pixelforge {

/// What the system says about the process; any of them may be empty, none null.
struct HostSurroundings {
    const wchar_t* programPath;   ///< of the process's main module
    const wchar_t* programFiles;  ///< the Program Files folder
    const wchar_t* appData;       ///< the roaming application-data folder
};

/// Without trailing back-slashes.
struct HostFolders {
    wchar_t program[kPathUnits];
    wchar_t library[kPathUnits];
    wchar_t data[kPathUnits];
    const wchar_t* mode;  ///< for display: "Debugging", "Installed\n" or "Portable\n"; the host's own texts
};

/// Debugging when the program runs below "D:\C\Projects\", else installed when it runs below the Program
/// Files folder, else portable. Prefixes are compared without regard to case, as the file system does.
HostFolders FindHostFolders(const HostSurroundings& surroundings) noexcept;

/// Finds the folders, publishes them as "EXE_BASEFOLDER", "DLL_BASEFOLDER" and "DAT_BASEFOLDER" in the
/// process's environment, expands the path table and makes the cache folders. Runs once, at process attach.
void PrepareHostFolders() noexcept;

/// The mode's text; "Unknown" before `PrepareHostFolders`.
const wchar_t* InstallationMode() noexcept;

}  // namespace pixelforge
