// The double of the windowless video renderer; its snapshots are the camera double's pictures.
#include <algorithm>
#include <cstring>

#include "tests/support/camera_double/filter.h"

namespace pixelforge::test {
namespace {

class RendererPin final : public Pin<> {
public:
    explicit RendererPin(IBaseFilter* filter) : Pin(PINDIR_INPUT, filter) {}

    bool Newest(CameraShot& shot) const {
        Microsoft::WRL::ComPtr<IPictureSource> source;
        return peer_ && SUCCEEDED(peer_.As(&source)) && source->Newest(shot);
    }

    HRESULT STDMETHODCALLTYPE Connect(IPin*, const AM_MEDIA_TYPE*) override { return E_UNEXPECTED; }
    HRESULT STDMETHODCALLTYPE ReceiveConnection(IPin* source, const AM_MEDIA_TYPE*) override {
        if (peer_) {
            return VFW_E_ALREADY_CONNECTED;
        }
        peer_ = source;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE EnumMediaTypes(IEnumMediaTypes** types) override {
        *types = nullptr;
        return E_NOTIMPL;
    }
};

class Renderer final : public Filter<RendererPin, IVMRFilterConfig, IVMRWindowlessControl> {
public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
        const bool refused = (id == __uuidof(IVMRWindowlessControl) && CameraFails("windowless")) ||
                             (id == __uuidof(IVMRFilterConfig) && CameraFails("config"));
        return refused ? E_NOINTERFACE : Filter::QueryInterface(id, object);
    }

    HRESULT STDMETHODCALLTYPE SetRenderingMode(DWORD mode) override {
        windowless_ = mode == VMRMode_Windowless;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetVideoPosition(const LPRECT, const LPRECT) override {
        return CameraFails("position") ? E_FAIL : S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetVideoClippingWindow(HWND window) override { return window ? S_OK : E_FAIL; }

    /// The setting "block" makes the block smaller than its header claims.
    HRESULT STDMETHODCALLTYPE GetCurrentImage(BYTE** image) override {
        *image = nullptr;
        const DoubleSettings settings = CameraSettings();
        CameraShot shot;
        if (settings.Is("fail", "image") || !windowless_ || !pin_->Newest(shot)) {
            return E_FAIL;
        }
        if (settings.Is("null", "image")) {
            return S_OK;
        }
        const auto bits = static_cast<unsigned>(settings.Number("image", 32));
        const auto bytes =
            PackPicture(shot, settings.Text("pattern", "scene"), bits, settings.Is("topdown", "1"));
        const auto size =
            static_cast<std::size_t>(settings.Number("block", static_cast<double>(bytes.size())));
        *image = static_cast<BYTE*>(CoTaskMemAlloc(size));
        std::memcpy(*image, bytes.data(), std::min(size, bytes.size()));
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE SetImageCompositor(IVMRImageCompositor*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetNumberOfStreams(DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetNumberOfStreams(DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetRenderingPrefs(DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetRenderingPrefs(DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetRenderingMode(DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetNativeVideoSize(LONG*, LONG*, LONG*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetMinIdealVideoSize(LONG*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetMaxIdealVideoSize(LONG*, LONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetVideoPosition(LPRECT, LPRECT) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetAspectRatioMode(DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetAspectRatioMode(DWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE RepaintVideo(HWND, HDC) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DisplayModeChanged() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetBorderColor(COLORREF) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetBorderColor(COLORREF*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetColorKey(COLORREF) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetColorKey(COLORREF*) override { return E_NOTIMPL; }

private:
    bool windowless_ = false;
};

}  // namespace

IUnknown* MakeRenderer() {
    return CameraFails("renderer") ? nullptr : static_cast<IBaseFilter*>(new Renderer);
}

}  // namespace pixelforge::test
