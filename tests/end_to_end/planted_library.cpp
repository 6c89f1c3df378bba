// A library that leaves a file beside itself when it is loaded.
#include <windows.h>

#include <filesystem>
#include <fstream>

BOOL WINAPI DllMain(HINSTANCE library, DWORD reason, void*) {
    if (reason == DLL_PROCESS_ATTACH) {
        wchar_t path[MAX_PATH] = {};
        GetModuleFileNameW(library, path, MAX_PATH);
        std::ofstream(std::filesystem::path(path).parent_path() / "planted library ran");
    }
    return TRUE;
}
