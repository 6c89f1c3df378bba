// Naming of face files.
#include "media/cube_faces.h"

#include <string>
#include <string_view>

namespace pixelforge {

bool CubeFacePath(const wchar_t* path, std::uint32_t face, wchar_t (&out)[kPathUnits]) {
    out[0] = 0;
    if (!path || face > 5) {
        return false;
    }
    std::wstring name(path);
    if (face != 0) {
        const std::size_t file = name.find_last_of(L"\\/:") + 1;  // 0 without any
        const std::size_t dot = name.rfind(L'.');
        const bool hasExtension = dot != name.npos && dot >= file;
        name.insert(hasExtension ? dot : name.size(), L"_" + std::to_wstring(face));
    }
    if (name.size() >= kPathUnits) {
        return false;
    }
    CopyCut(out, name);
    return true;
}

}  // namespace pixelforge
