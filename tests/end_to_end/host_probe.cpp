// A host that only loads the given module and writes the folders that it publishes to a file.
#include <windows.h>
#include <winternl.h>

#include <fstream>
#include <string>
#include <string_view>

extern "C" NTSTATUS NTAPI LdrFindEntryForAddress(void* address, LDR_DATA_TABLE_ENTRY** entry);

/// The third argument lengthens the program's path, as the system reports it: not every system starts a
/// program from a long one.
int main(int, char** arguments) {
    LDR_DATA_TABLE_ENTRY* program = nullptr;
    LdrFindEntryForAddress(GetModuleHandleW(nullptr), &program);
    const std::string_view end = arguments[3];
    const std::wstring longer = program->FullDllName.Buffer + std::wstring(end.begin(), end.end());
    RtlInitUnicodeString(&program->FullDllName, longer.c_str());
    if (!LoadLibraryA(arguments[1])) {
        return 1;
    }
    std::ofstream file(arguments[2]);
    for (const char* name : {"EXE_BASEFOLDER", "DLL_BASEFOLDER", "DAT_BASEFOLDER"}) {
        char value[MAX_PATH] = {};
        GetEnvironmentVariableA(name, value, MAX_PATH);
        file << value << "\n";
    }
    return 0;
}
