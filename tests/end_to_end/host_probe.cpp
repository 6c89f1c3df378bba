// A host that only loads the given module and writes the folders that it publishes to a file.
#include <windows.h>

#include <cstdlib>
#include <fstream>

int main(int count, char** arguments) {
    if (count != 3 || !LoadLibraryA(arguments[1])) {
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
