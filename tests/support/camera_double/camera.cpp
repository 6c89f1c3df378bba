// The double of a capture device: a source filter that always has a picture while it runs.
#include <sstream>

#include "tests/support/camera_double/filter.h"

namespace pixelforge::test {
namespace {

struct Size {
    LONG width;
    LONG height;
};

/// From the setting "formats", for example "640x480,320x240".
std::vector<Size> OfferedSizes() {
    std::vector<Size> sizes;
    std::istringstream text(CameraSettings().Text("formats", "320x240,640x480"));
    char between = 0;
    for (Size size = {}; text >> size.width >> between >> size.height; text >> between) {
        sizes.push_back(size);
    }
    return sizes.empty() ? std::vector<Size>{{640, 480}} : sizes;
}

AM_MEDIA_TYPE* MakeType(const Size& size) {
    auto* format = static_cast<VIDEOINFOHEADER*>(CoTaskMemAlloc(sizeof(VIDEOINFOHEADER)));
    *format = {};
    format->bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    format->bmiHeader.biWidth = size.width;
    format->bmiHeader.biHeight = size.height;
    format->bmiHeader.biPlanes = 1;
    format->bmiHeader.biBitCount = 24;
    auto* type = static_cast<AM_MEDIA_TYPE*>(CoTaskMemAlloc(sizeof(AM_MEDIA_TYPE)));
    *type = {};
    type->majortype = MEDIATYPE_Video;
    type->subtype = MEDIASUBTYPE_RGB24;
    type->formattype = CameraSettings().Is("formattype", "other") ? FORMAT_None : FORMAT_VideoInfo;
    type->cbFormat = sizeof(VIDEOINFOHEADER);
    type->pbFormat = reinterpret_cast<BYTE*>(format);
    return type;
}

void FreeFormat(AM_MEDIA_TYPE& type) {
    CoTaskMemFree(std::exchange(type.pbFormat, nullptr));
    type.cbFormat = 0;
}

class TypeEnumerator final : public Enumerator<IEnumMediaTypes, AM_MEDIA_TYPE*> {
    bool At(ULONG index, AM_MEDIA_TYPE** type) override {
        *type = index < sizes_.size() ? MakeType(sizes_[index]) : nullptr;
        return *type != nullptr;
    }
    const std::vector<Size> sizes_ = OfferedSizes();
};

class CameraPin final : public Pin<IAMStreamConfig, IPictureSource> {
public:
    explicit CameraPin(IBaseFilter* filter) : Pin(PINDIR_OUTPUT, filter) {}

    void SetRunning(bool running) { startTick_ = running ? GetTickCount64() : 0; }

    bool Newest(CameraShot& shot) override {
        shot = {size_.width, size_.height, static_cast<double>(GetTickCount64() - startTick_) / 1000};
        return startTick_ != 0 && !CameraSettings().Is("frames", "never");
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
        if (id == __uuidof(IAMStreamConfig) && CameraFails("streamconfig")) {
            return E_NOINTERFACE;
        }
        return Pin::QueryInterface(id, object);
    }

    HRESULT STDMETHODCALLTYPE Connect(IPin* receiver, const AM_MEDIA_TYPE*) override {
        if (CameraFails("connect")) {
            return E_FAIL;
        }
        AM_MEDIA_TYPE* type = MakeType(size_);
        const HRESULT result = receiver->ReceiveConnection(this, type);
        FreeFormat(*type);
        CoTaskMemFree(type);
        if (SUCCEEDED(result)) {
            peer_ = receiver;
        }
        return result;
    }
    HRESULT STDMETHODCALLTYPE ReceiveConnection(IPin*, const AM_MEDIA_TYPE*) override { return E_UNEXPECTED; }
    HRESULT STDMETHODCALLTYPE EnumMediaTypes(IEnumMediaTypes** types) override {
        *types = CameraFails("enumtypes") ? nullptr : new TypeEnumerator;
        return *types ? S_OK : E_FAIL;
    }

    HRESULT STDMETHODCALLTYPE SetFormat(AM_MEDIA_TYPE* type) override {
        if (CameraFails("setformat") || !type || !type->pbFormat) {
            return E_FAIL;
        }
        const BITMAPINFOHEADER& header = reinterpret_cast<VIDEOINFOHEADER*>(type->pbFormat)->bmiHeader;
        size_ = {header.biWidth, header.biHeight};
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetFormat(AM_MEDIA_TYPE** type) override {
        *type = CameraFails("getformat") || CameraSettings().Is("null", "type") ? nullptr : MakeType(size_);
        if (*type && CameraSettings().Is("null", "format")) {
            FreeFormat(**type);
        }
        return CameraFails("getformat") ? E_FAIL : S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetNumberOfCapabilities(int*, int*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetStreamCaps(int, AM_MEDIA_TYPE**, BYTE*) override { return E_NOTIMPL; }

private:
    Size size_ = OfferedSizes().front();
    ULONGLONG startTick_ = 0;
};

class Camera final : public Filter<CameraPin> {
    HRESULT Enter(FILTER_STATE state) override {
        if (state == State_Running && CameraFails("run")) {
            return E_FAIL;
        }
        pin_->SetRunning(state == State_Running);
        return Filter::Enter(state);
    }
};

}  // namespace

IUnknown* MakeCamera() {
    return CameraFails("camera") ? nullptr : static_cast<IBaseFilter*>(new Camera);
}

}  // namespace pixelforge::test
