// A library that notes beside itself when it is loaded, and whether the module leaves its window alone when
// the process ends.
#include <windows.h>

#include <filesystem>
#include <fstream>

BOOL WINAPI DllMain(HINSTANCE library, DWORD reason, void* processEnds) {
    const auto note = [library](const char* word) {
        wchar_t path[MAX_PATH] = {};
        GetModuleFileNameW(library, path, MAX_PATH);
        std::ofstream(std::filesystem::path(path).parent_path() / "planted library ran") << word;
    };
    if (reason == DLL_PROCESS_ATTACH) {
        note("at its load");
    } else if (reason == DLL_PROCESS_DETACH && processEnds &&
               GetPropW(FindWindowW(nullptr, L"subclassed"), L"OriginalWndProc")) {
        note("last, beside a subclassed window");
    }
    return TRUE;
}
