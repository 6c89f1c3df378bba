// The stand-in for the windowless video renderer: it keeps the last picture and gives it as a packed bitmap.
#include <mutex>

#include "tests/support/camera_double/filter.h"

namespace pixelforge::test {
namespace {

class RendererPin final : public Pin<IPictureSink> {
public:
    explicit RendererPin(IBaseFilter* filter) : Pin(PINDIR_INPUT, filter) {}

    void Take(const CameraPicture& picture) override {
        const std::lock_guard lock(mutex_);
        last_ = picture;
    }
    CameraPicture Last() const {
        const std::lock_guard lock(mutex_);
        return last_;
    }

    HRESULT STDMETHODCALLTYPE Connect(IPin*, const AM_MEDIA_TYPE*) override { return E_UNEXPECTED; }
    HRESULT STDMETHODCALLTYPE ReceiveConnection(IPin* source, const AM_MEDIA_TYPE* type) override {
        if (Peer())
            return VFW_E_ALREADY_CONNECTED;
        ConnectTo(source, *type);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE EnumMediaTypes(IEnumMediaTypes** types) override {
        *types = nullptr;
        return E_NOTIMPL;
    }

private:
    mutable std::mutex mutex_;
    CameraPicture last_;
};

/// Block for the caller to free; "block" of the settings cuts it short of what its header claims.
BYTE* TaskBlock(const std::vector<std::uint8_t>& bytes) {
    const DoubleSettings settings = CameraSettings();
    const auto size = static_cast<std::size_t>(settings.Number("block", static_cast<double>(bytes.size())));
    auto* block = static_cast<BYTE*>(CoTaskMemAlloc(size));
    std::memcpy(block, bytes.data(), std::min(size, bytes.size()));
    return block;
}

class Renderer final : public Filter<IVMRFilterConfig, IVMRWindowlessControl> {
public:
    Renderer() { *pin_.GetAddressOf() = new RendererPin(this); }
    ~Renderer() override { pin_->LoseFilter(); }

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
    HRESULT STDMETHODCALLTYPE GetCurrentImage(BYTE** image) override {
        *image = nullptr;
        const DoubleSettings settings = CameraSettings();
        const CameraPicture picture = pin_->Last();
        if (settings.Is("fail", "image") || picture.pixels.empty() || !windowless_)
            return E_FAIL;
        if (settings.Is("null", "image"))
            return S_OK;
        const auto bits = static_cast<unsigned>(settings.Number("image", 32));
        *image = TaskBlock(PackPicture(picture, bits, settings.Is("topdown", "1")));
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
    HRESULT STDMETHODCALLTYPE SetVideoClippingWindow(HWND window) override { return window ? S_OK : E_FAIL; }
    HRESULT STDMETHODCALLTYPE RepaintVideo(HWND, HDC) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DisplayModeChanged() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetBorderColor(COLORREF) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetBorderColor(COLORREF*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetColorKey(COLORREF) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetColorKey(COLORREF*) override { return E_NOTIMPL; }

private:
    IPin* OnlyPin() override { return pin_.Get(); }

    Microsoft::WRL::ComPtr<RendererPin> pin_;
    bool windowless_ = false;
};

}  // namespace

IUnknown* MakeRenderer() {
    return CameraFails("renderer") ? nullptr : static_cast<IBaseFilter*>(new Renderer);
}

}  // namespace pixelforge::test
