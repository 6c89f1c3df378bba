// A host that only loads the module that it is told, and prints the folders that the module published.
#include <windows.h>

#include <cstdio>
#include <initializer_list>

int main(int count, char** arguments) {
    if (count != 2 || !LoadLibraryA(arguments[1])) {
        return 1;
    }
    for (const char* name : {"EXE_BASEFOLDER", "DLL_BASEFOLDER", "DAT_BASEFOLDER"}) {
        char value[MAX_PATH] = {};
        GetEnvironmentVariableA(name, value, MAX_PATH);
        std::printf("%s\n", value);
    }
    return 0;
}
