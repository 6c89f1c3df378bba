// The host's frame bitmap and the device context that the module may draw on it with.
#pragma once

#include <cstdint>

#include "base/win_handles.h"
#include "preview/host/frame_pixels.h"

namespace pixelforge::preview {

/// A 32-bit bottom-up DIB section, black at first, and a memory device context without a selection.
class HostSurface {
public:
    /// Throws `HostError` with `Failed` when the system grants no such bitmap.
    HostSurface(std::int32_t width, std::int32_t height);

    HBITMAP Bitmap() const noexcept { return bitmap_.Get(); }
    HDC DeviceContext() const noexcept { return deviceContext_.Get(); }

    /// A picture for frames that leave part of the host's picture.
    void FillWithCheckers();

    /// The pixels as they lie in the section now; valid as long as this lives.
    FramePixels Pixels() const;

private:
    UniqueMemoryDc deviceContext_;
    UniqueBitmap bitmap_;
};

}  // namespace pixelforge::preview
