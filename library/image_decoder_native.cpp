// The native build decodes no pictures.
#include "library/image_decoder.h"

namespace pixelforge {

UniqueBitmap DecodeImageFile(const wchar_t*, std::string& reason) {
    reason = "pictures cannot be decoded here";
    return {};
}

}  // namespace pixelforge
