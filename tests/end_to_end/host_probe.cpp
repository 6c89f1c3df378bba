// A host that only loads the given module and writes the folders that it publishes to a file.
#include <windows.h>
#include <winternl.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

extern "C" NTSTATUS NTAPI LdrFindEntryForAddress(void* address, LDR_DATA_TABLE_ENTRY** entry);

/// Lengthens the program's path, as the system reports it: not every system starts a program from a long one.
static void AppendToProgramPath(const char* text) {
    LDR_DATA_TABLE_ENTRY* program = nullptr;
    LdrFindEntryForAddress(GetModuleHandleW(nullptr), &program);
    UNICODE_STRING& path = program->FullDllName;
    static const std::wstring longer = path.Buffer + std::wstring(text, text + std::strlen(text));
    RtlInitUnicodeString(&path, longer.c_str());
}

int main(int count, char** arguments) {
    if (count == 4) {
        AppendToProgramPath(arguments[3]);
    }
    if (count < 3 || !LoadLibraryA(arguments[1])) {
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
