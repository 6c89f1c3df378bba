// The host's program, library and data folders, found as the host itself finds them.
#pragma once

#include "base/text.h"

namespace pixelforge {

/// What the system reports about the process. Fields may be empty but not null.
struct HostSurroundings {
    const wchar_t* programPath;   ///< the process's executable
    const wchar_t* programFiles;  ///< the Program Files folder
    const wchar_t* appData;       ///< the roaming application-data folder
};

/// Without trailing back-slashes.
struct HostFolders {
    wchar_t program[kPathUnits];
    wchar_t library[kPathUnits];
    wchar_t data[kPathUnits];
    const wchar_t* mode;  ///< the host's display text: "Debugging", "Installed\n" or "Portable\n"
};

/// Debugging if the program runs below "D:\C\Projects\", installed if below the Program Files folder, else
/// portable. Like the file system, ignores case.
HostFolders FindHostFolders(const HostSurroundings& surroundings) noexcept;

/// Finds the folders, publishes them in the process's environment as "EXE_BASEFOLDER", "DLL_BASEFOLDER" and
/// "DAT_BASEFOLDER", expands the table of standard paths and creates the cache folders. Runs once, at process
/// attach.
void PrepareHostFolders() noexcept;

}  // namespace pixelforge
