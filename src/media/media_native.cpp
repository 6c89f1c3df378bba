// The native build decodes no pictures and cuts none.
#include "media/cube_cross.h"
#include "media/image_decoder.h"

namespace pixelforge {

UniqueBitmap DecodeImageFile(const wchar_t*, std::string& reason) {
    reason = "pictures cannot be decoded here";
    return {};
}

bool SplitCubeCross(HBITMAP__*, UniqueBitmap (&)[6]) {
    return false;
}

}  // namespace pixelforge
