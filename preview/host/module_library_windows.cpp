// Loads the display module and looks up its exports.
#include "preview/host/module_library.h"

#include <windows.h>

#include "preview/host/file_paths.h"
#include "preview/host/host_error.h"

namespace pixelforge::preview {
namespace {

template <class Function>
void Bind(HMODULE library, const char* name, Function& function) {
    const FARPROC address = GetProcAddress(library, name);
    if (!address) {
        throw HostError(ExitStatus::Failed, std::string("the module does not export ") + name);
    }
    // Cast through a plain function pointer, because no export has FARPROC's signature.
    function = reinterpret_cast<Function>(reinterpret_cast<void (*)()>(address));
}

}  // namespace

std::wstring ModulePathBesideProgram() {
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return path.substr(0, path.find_last_of(L'\\') + 1) + L"Pixelforge.dll";
}

ModuleLibrary::ModuleLibrary(const std::wstring& path)
    : library_(LoadLibraryExW(path.c_str(), nullptr,
                              LOAD_LIBRARY_SEARCH_DLL_LOAD_DIR | LOAD_LIBRARY_SEARCH_DEFAULT_DIRS)) {
    if (!library_) {
        throw HostError(ExitStatus::Failed, WithLastError("cannot load the module " + ToUtf8(path)));
    }
    const HMODULE library = library_.Get();
    Bind(library, "ModuleGetDescription", functions_.getDescription);
    Bind(library, "ModuleBuildControlStructure", functions_.buildControlStructure);
    Bind(library, "ModulePreInitialize", functions_.preInitialize);
    Bind(library, "ModuleInitialize", functions_.initialize);
    Bind(library, "ModuleDrawFrame", functions_.drawFrame);
    Bind(library, "ModuleCleanUp", functions_.cleanUp);
    Bind(library, "ModuleDestroyControlStructure", functions_.destroyControlStructure);
}

}  // namespace pixelforge::preview
