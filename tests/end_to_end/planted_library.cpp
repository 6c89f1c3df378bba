// Writes a file beside itself: that it was loaded, and that the module left its window alone when the process
// ended.
#include <windows.h>

#include <filesystem>
#include <fstream>

BOOL WINAPI DllMain(HINSTANCE library, DWORD reason, void* processEnds) {
    const bool last = reason == DLL_PROCESS_DETACH && processEnds &&
                      GetPropW(FindWindowW(nullptr, L"subclassed"), L"OriginalWndProc");
    if (last || reason == DLL_PROCESS_ATTACH) {
        wchar_t path[MAX_PATH] = {};
        GetModuleFileNameW(library, path, MAX_PATH);
        std::ofstream(std::filesystem::path(path).parent_path() / "planted library ran")
            << (last ? "last, beside a subclassed window" : "at its load");
    }
    return TRUE;
}
