// Loads the display module and looks up its exports.
#pragma once

#include <string>

#include "base/win_handles.h"
#include "module/host_abi.h"

namespace pixelforge::preview {

struct ModuleFunctions {
    ModuleGetDescriptionFunction getDescription = nullptr;
    ModuleBuildControlStructureFunction buildControlStructure = nullptr;
    ModulePreInitializeFunction preInitialize = nullptr;
    ModuleInitializeFunction initialize = nullptr;
    ModuleDrawFrameFunction drawFrame = nullptr;
    ModuleCleanUpFunction cleanUp = nullptr;
    ModuleDestroyControlStructureFunction destroyControlStructure = nullptr;
};

struct LoadedLibraryTraits {
    using Handle = HMODULE;
    static void Close(HMODULE library) noexcept { FreeLibrary(library); }
};

/// "Pixelforge.dll" in the program's folder.
std::wstring ModulePathBesideProgram();

/// The loaded module; must outlive every session. The constructor throws `HostError` with `Failed` if the
/// module or one of its seven exports is missing.
class ModuleLibrary {
public:
    explicit ModuleLibrary(const std::wstring& path = ModulePathBesideProgram());

    const ModuleFunctions& Functions() const noexcept { return functions_; }

private:
    UniqueHandle<LoadedLibraryTraits> library_;
    ModuleFunctions functions_;
};

}  // namespace pixelforge::preview
