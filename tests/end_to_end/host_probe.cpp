// A host that only loads the given module and writes the folders that it publishes to a file.
#include <windows.h>
#include <winternl.h>

#include <filesystem>
#include <fstream>
#include <string>

extern "C" NTSTATUS NTAPI LdrFindEntryForAddress(void* address, LDR_DATA_TABLE_ENTRY** entry);

/// The third argument lengthens the program's path, as the system reports it: not every system starts a
/// program from a long one.
int main(int, char** arguments) {
    LDR_DATA_TABLE_ENTRY* program = nullptr;
    LdrFindEntryForAddress(GetModuleHandleW(nullptr), &program);
    const std::wstring longer = program->FullDllName.Buffer + std::filesystem::path(arguments[3]).wstring();
    RtlInitUnicodeString(&program->FullDllName, longer.c_str());
    LoadLibraryA(arguments[1]);
    std::ofstream file(arguments[2]);
    for (const char* name : {"EXE_BASEFOLDER", "DLL_BASEFOLDER", "DAT_BASEFOLDER"}) {
        char value[MAX_PATH] = {};
        GetEnvironmentVariableA(name, value, MAX_PATH);
        file << value << "\n";
    }
}
