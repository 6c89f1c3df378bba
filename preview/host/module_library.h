// The loaded display module and its exported functions.
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

/// "Pixelforge.dll" in the running program's folder.
std::wstring ModulePathBesideProgram();

/// Loads the module and finds its seven exports; unloads it at the end of its life, so that it must
/// outlive every session. Throws `HostError` with `Failed`.
class ModuleLibrary {
public:
    explicit ModuleLibrary(const std::wstring& path = ModulePathBesideProgram());

    const ModuleFunctions& Functions() const noexcept { return functions_; }

private:
    void FindExports();

    UniqueHandle<LoadedLibraryTraits> library_;
    ModuleFunctions functions_;
};

}  // namespace pixelforge::preview
