// A second process that fills the cache of PIXELFORGE_SHARED_CACHE.
#include <windows.h>

#include "base/text.h"
#include "library/shader_cache.h"
#include "tests/service/fill_cache.h"

int main() {
    wchar_t root[pixelforge::kPathUnits] = {};
    GetEnvironmentVariableW(L"PIXELFORGE_SHARED_CACHE", root, pixelforge::kPathUnits);
    pixelforge::CreateCacheFolders(nullptr, root);
    return pixelforge::test::FillCache() ? 0 : 1;
}
