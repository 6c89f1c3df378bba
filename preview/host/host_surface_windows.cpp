// Makes the host's frame bitmap and shows its pixels.
#include "preview/host/host_surface.h"

#include "base/bitmap.h"
#include "preview/host/host_error.h"

namespace pixelforge::preview {

HostSurface::HostSurface(std::int32_t width, std::int32_t height)
    : deviceContext_(CreateCompatibleDC(nullptr)), bitmap_(CreateHostBitmap(width, height)) {
    if (!deviceContext_ || !bitmap_) {
        throw HostError(ExitStatus::Failed, "the system grants no bitmap of the frame's size");
    }
}

void HostSurface::FillWithCheckers() {
    constexpr std::int32_t kSquare = 32;
    constexpr std::uint32_t kColors[] = {0x00303848, 0x00485468};
    GdiFlush();
    BITMAP bitmap{};
    GetObjectW(bitmap_.Get(), sizeof bitmap, &bitmap);
    auto* pixel = static_cast<std::uint32_t*>(bitmap.bmBits);
    for (LONG y = 0; y < bitmap.bmHeight; ++y) {
        for (LONG x = 0; x < bitmap.bmWidth; ++x) {
            *pixel++ = kColors[(x / kSquare + y / kSquare) % 2];
        }
    }
}

FramePixels HostSurface::Pixels() const {
    // GDI may still hold drawing back, for example the words of the error screen.
    GdiFlush();
    DIBSECTION section{};
    GetObjectW(bitmap_.Get(), sizeof section, &section);
    const BITMAP& bitmap = section.dsBm;
    const auto size =
        static_cast<std::size_t>(bitmap.bmWidthBytes) * static_cast<std::size_t>(bitmap.bmHeight);
    return {.bytes = {static_cast<const std::uint8_t*>(bitmap.bmBits), size},
            .width = bitmap.bmWidth,
            .height = bitmap.bmHeight,
            .bottomUp = section.dsBmih.biHeight > 0};
}

}  // namespace pixelforge::preview
