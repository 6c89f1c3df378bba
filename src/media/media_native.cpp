// Native stand-ins: every decode and every split fails.
#include "media/cube_map.h"
#include "media/image_decoder.h"

namespace pixelforge {

UniqueBitmap DecodeImageFile(const wchar_t*, std::string& reason, std::uint64_t) {
    reason = "this build cannot decode pictures";
    return {};
}

bool SplitCubeCross(UniqueBitmap, UniqueBitmap (&)[6], std::uint64_t) {
    return false;
}

}  // namespace pixelforge
