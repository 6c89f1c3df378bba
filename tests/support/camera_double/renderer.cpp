// The double of the windowless video renderer; its snapshots are the camera double's pictures.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "tests/support/camera_double/filter.h"

namespace pixelforge::test {
namespace {

std::uint32_t Quadrant(double x, double y) {
    constexpr std::uint32_t kColours[2][2] = {{0x0000FF, 0xFFFFFF}, {0xFF0000, 0x00FF00}};
    return kColours[y < 0.5 ? 0 : 1][x < 0.5 ? 0 : 1];
}

/// For manual use: a sun that crosses an evening sky.
std::uint32_t Scene(double x, double y, double seconds) {
    const double glow = std::exp(-5 * std::hypot(x - std::fmod(seconds * 0.05, 1.0), y - 0.7));
    const auto level = [glow](double sky) {
        return static_cast<std::uint32_t>(std::min(sky + glow, 1.0) * 255);
    };
    return level(0.9 - 0.6 * y) << 16 | level(0.5 - 0.2 * y) << 8 | level(0.3 + 0.3 * y);
}

/// A packed DIB.
std::vector<BYTE> PackPicture(const CameraShot& shot) {
    const auto bits = static_cast<WORD>(NumberSetting("image", 32));
    const bool topDown = IsSet("topdown", "1");
    const bool quadrants = IsSet("pattern", "quadrants");
    const LONG height = topDown ? -shot.height : shot.height;
    const BITMAPINFOHEADER header = {sizeof(header), shot.width, height, 1, bits, BI_RGB, 0, 0, 0, 0, 0};
    const std::size_t rowBytes = (static_cast<std::size_t>(shot.width) * bits + 31) / 32 * 4;
    std::vector<BYTE> block(sizeof(header) + rowBytes * static_cast<std::size_t>(shot.height));
    std::memcpy(block.data(), &header, sizeof(header));
    for (std::int32_t row = 0; row < shot.height; ++row) {
        const double y = ((topDown ? shot.height - 1 - row : row) + 0.5) / shot.height;
        BYTE* to = &block[sizeof(header) + rowBytes * static_cast<std::size_t>(row)];
        for (std::int32_t column = 0; column < shot.width; ++column, to += bits / 8) {
            const double x = (column + 0.5) / shot.width;
            const std::uint32_t colour = quadrants ? Quadrant(x, y) : Scene(x, y, shot.seconds);
            std::memcpy(to, &colour, bits / 8);
        }
    }
    return block;
}

class Renderer final : public Filter<PINDIR_INPUT, IVMRFilterConfig, IVMRWindowlessControl> {
public:
    using Filter::Filter;

    STDMETHODIMP QueryInterface(REFIID id, void** object) override {
        const bool refused = (id == __uuidof(IVMRWindowlessControl) && Fails("windowless")) ||
                             (id == __uuidof(IVMRFilterConfig) && Fails("config"));
        return refused ? E_NOINTERFACE : Filter::QueryInterface(id, object);
    }

    STDMETHODIMP ReceiveConnection(IPin* source, const AM_MEDIA_TYPE*) override {
        peer_ = source;
        return S_OK;
    }
    UNUSED_METHOD(Connect, IPin*, const AM_MEDIA_TYPE*)
    UNUSED_METHOD(EnumMediaTypes, IEnumMediaTypes**)

    STDMETHODIMP SetRenderingMode(DWORD mode) override {
        windowless_ = mode == VMRMode_Windowless;
        return S_OK;
    }
    STDMETHODIMP SetVideoPosition(const LPRECT source, const LPRECT place) override {
        return Fails("position") || source || !place || !IsRectEmpty(place) ? E_FAIL : S_OK;
    }
    STDMETHODIMP SetVideoClippingWindow(HWND window) override { return window ? S_OK : E_FAIL; }

    /// The setting "block" makes the block smaller than its header claims.
    STDMETHODIMP GetCurrentImage(BYTE** image) override {
        *image = nullptr;
        CameraShot shot;
        const auto* camera = dynamic_cast<const PictureSource*>(peer_.Get());  // nothing else connects
        if (Fails("image") || !windowless_ || !camera || !camera->Newest(shot)) {
            return E_FAIL;
        }
        if (!IsSet("null", "image")) {
            const std::vector<BYTE> bytes = PackPicture(shot);
            const auto size =
                static_cast<std::size_t>(NumberSetting("block", static_cast<double>(bytes.size())));
            *image = static_cast<BYTE*>(NewTaskBlock(size, 0));
            std::memcpy(*image, bytes.data(), std::min(size, bytes.size()));
        }
        return S_OK;
    }

    UNUSED_METHOD(SetImageCompositor, IVMRImageCompositor*)
    UNUSED_METHOD(SetNumberOfStreams, DWORD)
    UNUSED_METHOD(GetNumberOfStreams, DWORD*)
    UNUSED_METHOD(SetRenderingPrefs, DWORD)
    UNUSED_METHOD(GetRenderingPrefs, DWORD*)
    UNUSED_METHOD(GetRenderingMode, DWORD*)
    UNUSED_METHOD(GetNativeVideoSize, LONG*, LONG*, LONG*, LONG*)
    UNUSED_METHOD(GetMinIdealVideoSize, LONG*, LONG*)
    UNUSED_METHOD(GetMaxIdealVideoSize, LONG*, LONG*)
    UNUSED_METHOD(GetVideoPosition, LPRECT, LPRECT)
    UNUSED_METHOD(GetAspectRatioMode, DWORD*)
    UNUSED_METHOD(SetAspectRatioMode, DWORD)
    UNUSED_METHOD(RepaintVideo, HWND, HDC)
    UNUSED_METHOD(DisplayModeChanged)
    UNUSED_METHOD(SetBorderColor, COLORREF)
    UNUSED_METHOD(GetBorderColor, COLORREF*)
    UNUSED_METHOD(SetColorKey, COLORREF)
    UNUSED_METHOD(GetColorKey, COLORREF*)

private:
    bool windowless_ = false;
};

}  // namespace

/// The module creates the renderer first, so the device list is up to date when it searches for a camera.
IUnknown* MakeRenderer() {
    ListCamera(!IsSet("device", "none"));
    return Fails("renderer") ? nullptr : static_cast<IBaseFilter*>(new Renderer(L"Video Mixing Renderer"));
}

}  // namespace pixelforge::test
