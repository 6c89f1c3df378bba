// The host's frame bitmap, access to its pixels, and PNG files of it.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "base/win_handles.h"

namespace pixelforge::preview {

/// 32-bit pixels, bytes in the order blue, green, red, alpha; rows from the bottom, without padding.
struct FramePixels {
    std::span<const std::uint8_t> bytes;  ///< width x height x 4
    std::int32_t width = 0;
    std::int32_t height = 0;

    /// A row, counted from the top.
    std::span<const std::uint8_t> Row(std::int32_t rowFromTop) const;

    /// 0xAARRGGBB; x from the left, y from the top.
    std::uint32_t At(std::int32_t x, std::int32_t rowFromTop) const;
};

/// A 32-bit bottom-up DIB section, initially black, and a memory device context with nothing selected.
class HostSurface {
public:
    /// Throws `HostError` with `Failed` if the bitmap cannot be created.
    HostSurface(std::int32_t width, std::int32_t height);

    HBITMAP Bitmap() const noexcept { return bitmap_.Get(); }
    HDC DeviceContext() const noexcept { return deviceContext_.Get(); }

    /// Fills the bitmap with a host picture, for frames that leave parts of it visible.
    void FillWithCheckers();

    /// The section's current pixels; valid while this lives.
    FramePixels Pixels() const;

private:
    UniqueMemoryDc deviceContext_;
    UniqueBitmap bitmap_;
};

/// Writes the frame without its alpha, which hosts ignore. Throws `HostError` with `Failed` and leaves no
/// half-written file.
void WritePng(const std::wstring& absolutePath, const FramePixels& pixels);

}  // namespace pixelforge::preview
