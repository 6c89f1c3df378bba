// Cuts a cross into faces with GDI.
#include "media/cube_map.h"

#include <windows.h>

#include <algorithm>

#include "base/load_error.h"
#include "base/win_handles.h"
#include "media/image_decoder.h"

namespace pixelforge {
namespace {

/// A bitmap selected into a device context.
class Canvas {
public:
    explicit Canvas(HBITMAP bitmap) noexcept
        : dc_(CreateCompatibleDC(nullptr)), selection_(dc_.Get(), bitmap) {}

    HDC Dc() const noexcept { return dc_.Get(); }
    explicit operator bool() const noexcept { return dc_ && selection_; }

private:
    UniqueMemoryDc dc_;
    GdiSelection selection_;
};

/// A copy of part of a bitmap as a 32-bit top-down section.
UniqueBitmap CopyBox(HBITMAP source, const PixelBox& box) {
    UniqueBitmap copy = CreatePictureBitmap(box.width, box.height, 32);
    const Canvas from(source);
    const Canvas to(copy.Get());
    const bool copied = from && to &&
                        BitBlt(to.Dc(), 0, 0, box.width, box.height, from.Dc(), box.left, box.top, SRCCOPY) &&
                        GdiFlush();
    return copied ? std::move(copy) : UniqueBitmap();
}

PixelBox BoxOfCross(HBITMAP picture) noexcept {
    const SectionPixels pixels = PixelsOf(picture);
    return FindCrossBox(
        {reinterpret_cast<const std::uint32_t*>(pixels.bytes.data()), pixels.bytes.size() / 4}, pixels.width);
}

UniqueBitmap StretchFace(HDC cross, const PixelBox& cell, std::int32_t size) {
    UniqueBitmap face = CreatePictureBitmap(size, size, 32);
    const Canvas to(face.Get());
    if (!to) {
        return {};
    }
    SetStretchBltMode(to.Dc(), HALFTONE);
    SetBrushOrgEx(to.Dc(), 0, 0, nullptr);  // required after HALFTONE
    const bool stretched =
        StretchBlt(to.Dc(), 0, 0, size, size, cross, cell.left, cell.top, cell.width, cell.height, SRCCOPY) &&
        GdiFlush();
    return stretched ? std::move(face) : UniqueBitmap();
}

}  // namespace

// Each bitmap may have hundreds of megabytes and is released as soon as the next one exists.
bool SplitCubeCross(UniqueBitmap image, UniqueBitmap (&faces)[6], std::uint64_t mostBytes) {
    const SectionPixels size = PixelsOf(image.Get());
    UniqueBitmap picture = CopyBox(image.Get(), {0, 0, size.width, size.height});
    image.Reset();
    const PixelBox box = BoxOfCross(picture.Get());
    const auto cells = CellsOfCross(box.width, box.height);
    if (!cells) {
        return false;
    }
    // A picture much longer than wide, or the reverse, has larger faces than itself.
    const auto side = static_cast<std::uint64_t>(cells->faceSize);
    if (std::size(cells->faces) * 4 * side * side > mostBytes) {
        throw LoadError(kBeyondBudget);
    }
    const UniqueBitmap cross = CopyBox(picture.Get(), box);
    picture.Reset();
    const Canvas from(cross.Get());
    UniqueBitmap cut[6];
    for (std::size_t face = 0; face < std::size(cut); ++face) {
        cut[face] = from ? StretchFace(from.Dc(), cells->faces[face], cells->faceSize) : UniqueBitmap();
        if (!cut[face]) {
            return false;
        }
    }
    std::move(std::begin(cut), std::end(cut), std::begin(faces));
    return true;
}

}  // namespace pixelforge
