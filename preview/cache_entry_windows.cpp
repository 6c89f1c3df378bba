// Finds and removes the module's copy of a shader.
#include "preview/cache_entry.h"

#include <windows.h>

#include <cstdio>

#include "base/file.h"
#include "base/text.h"
#include "preview/host/file_paths.h"
#include "preview/host/host_error.h"
#include "preview/host/module_library.h"
#include "service/shader_cache.h"

namespace pixelforge::preview {
namespace {

/// Below the data folder that the module publishes when it is loaded.
std::wstring CachedFile(const std::string& identifier) {
    wchar_t name[kPathUnits] = {};
    wchar_t folder[kPathUnits] = {};
    if (!CachedNameForShaderId(FromUtf8(identifier).c_str(), name) || !IsPlainFileName(name)) {
        throw HostError(ExitStatus::WrongUsage, "--forget: \"" + identifier + "\" is no shader identifier");
    }
    const ModuleLibrary library;
    ExpandEnvironmentStringsW(L"%DAT_BASEFOLDER%\\Pixelforge\\PixelforgeCache\\Shaders\\", folder,
                              kPathUnits);
    return std::wstring(folder) + name + L".json";
}

}  // namespace

void ForgetCachedShader(const std::string& identifier) {
    const std::wstring file = CachedFile(identifier);
    if (DeleteFileW(file.c_str())) {
        std::printf("forgot      %s\n", ToUtf8(file).c_str());
    } else if (GetLastError() == ERROR_FILE_NOT_FOUND || GetLastError() == ERROR_PATH_NOT_FOUND) {
        std::printf("forgot      nothing: %s is not in the cache\n", identifier.c_str());
    } else {
        throw HostError(ExitStatus::Failed, WithLastError("cannot remove " + ToUtf8(file)));
    }
}

}  // namespace pixelforge::preview
