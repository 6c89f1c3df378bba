// Owner of a GDI bitmap, for records that are compiled without a Windows header too.
#pragma once

#include "base/unique_handle.h"

struct HBITMAP__;

namespace pixelforge {

struct BitmapTraits {
    using Handle = HBITMAP__*;
    static void Close(HBITMAP__* bitmap) noexcept;
};

using UniqueBitmap = UniqueHandle<BitmapTraits>;

}  // namespace pixelforge
