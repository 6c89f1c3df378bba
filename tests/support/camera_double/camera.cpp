// The stand-in for a capture device: a source filter whose thread delivers 30 pictures a second.
#include <mutex>
#include <thread>

#include "tests/support/camera_double/filter.h"

namespace pixelforge::test {
namespace {

struct Size {
    LONG width;
    LONG height;
};

/// The setting "formats", for example "640x480,320x240".
std::vector<Size> OfferedSizes() {
    std::vector<Size> sizes;
    const std::string text = CameraSettings().Text("formats", "320x240,640x480");
    for (std::size_t place = 0; place < text.size();) {
        Size size = {};
        if (std::sscanf(text.c_str() + place, "%ldx%ld", &size.width, &size.height) == 2)
            sizes.push_back(size);
        const std::size_t comma = text.find(',', place);
        place = comma == std::string::npos ? text.size() : comma + 1;
    }
    return sizes;
}

AM_MEDIA_TYPE* MakeType(const Size& size) {
    auto* format = static_cast<VIDEOINFOHEADER*>(CoTaskMemAlloc(sizeof(VIDEOINFOHEADER)));
    *format = {};
    format->AvgTimePerFrame = 333333;
    format->bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    format->bmiHeader.biWidth = size.width;
    format->bmiHeader.biHeight = size.height;
    format->bmiHeader.biPlanes = 1;
    format->bmiHeader.biBitCount = 24;
    auto* type = static_cast<AM_MEDIA_TYPE*>(CoTaskMemAlloc(sizeof(AM_MEDIA_TYPE)));
    *type = {};
    type->majortype = MEDIATYPE_Video;
    type->subtype = MEDIASUBTYPE_RGB24;
    type->bFixedSizeSamples = TRUE;
    type->formattype = CameraSettings().Is("formattype", "other") ? FORMAT_None : FORMAT_VideoInfo;
    type->cbFormat = sizeof(VIDEOINFOHEADER);
    type->pbFormat = reinterpret_cast<BYTE*>(format);
    return type;
}

void FreeType(AM_MEDIA_TYPE* type) {
    CoTaskMemFree(type->pbFormat);
    CoTaskMemFree(type);
}

class TypeList final : public ListOf<IEnumMediaTypes, AM_MEDIA_TYPE*> {
    bool At(ULONG index, AM_MEDIA_TYPE** type) override {
        *type = index < sizes_.size() ? MakeType(sizes_[index]) : nullptr;
        return *type != nullptr;
    }
    const std::vector<Size> sizes_ = OfferedSizes();
};

class CameraPin final : public Pin<IAMStreamConfig> {
public:
    explicit CameraPin(IBaseFilter* filter) : Pin(PINDIR_OUTPUT, filter) {}

    Size CurrentSize() const { return size_; }

    void Deliver(const CameraPicture& picture) const {
        Microsoft::WRL::ComPtr<IPictureSink> sink;
        if (Peer() && SUCCEEDED(Peer()->QueryInterface(IID_PPV_ARGS(sink.GetAddressOf()))))
            sink->Take(picture);
    }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
        if (id == __uuidof(IAMStreamConfig) && CameraFails("streamconfig"))
            return E_NOINTERFACE;
        return Pin::QueryInterface(id, object);
    }

    HRESULT STDMETHODCALLTYPE Connect(IPin* receiver, const AM_MEDIA_TYPE*) override {
        if (CameraFails("connect"))
            return E_FAIL;
        AM_MEDIA_TYPE* type = MakeType(size_);
        const HRESULT result = receiver->ReceiveConnection(this, type);
        if (SUCCEEDED(result))
            ConnectTo(receiver, *type);
        FreeType(type);
        return result;
    }
    HRESULT STDMETHODCALLTYPE ReceiveConnection(IPin*, const AM_MEDIA_TYPE*) override { return E_UNEXPECTED; }
    HRESULT STDMETHODCALLTYPE EnumMediaTypes(IEnumMediaTypes** types) override {
        *types = CameraFails("enumtypes") ? nullptr : new TypeList;
        return *types ? S_OK : E_FAIL;
    }

    HRESULT STDMETHODCALLTYPE SetFormat(AM_MEDIA_TYPE* type) override {
        if (CameraFails("setformat") || !type || !type->pbFormat)
            return E_FAIL;
        const BITMAPINFOHEADER& header = reinterpret_cast<VIDEOINFOHEADER*>(type->pbFormat)->bmiHeader;
        size_ = {header.biWidth, header.biHeight};
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetFormat(AM_MEDIA_TYPE** type) override {
        *type = nullptr;
        if (CameraFails("getformat"))
            return E_FAIL;
        if (CameraSettings().Is("null", "type"))
            return S_OK;
        *type = MakeType(size_);
        if (CameraSettings().Is("null", "format")) {
            CoTaskMemFree((*type)->pbFormat);
            (*type)->pbFormat = nullptr;
            (*type)->cbFormat = 0;
        }
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetNumberOfCapabilities(int*, int*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetStreamCaps(int, AM_MEDIA_TYPE**, BYTE*) override { return E_NOTIMPL; }

private:
    Size size_ = OfferedSizes().empty() ? Size{640, 480} : OfferedSizes().front();
};

class Camera final : public Filter<> {
public:
    Camera() { *pin_.GetAddressOf() = new CameraPin(this); }
    ~Camera() override {
        Enter(State_Stopped);
        pin_->LoseFilter();
    }

private:
    IPin* OnlyPin() override { return pin_.Get(); }

    HRESULT Enter(FILTER_STATE state) override {
        if (state == State_Running && CameraFails("run"))
            return E_FAIL;
        Filter::Enter(state);
        if (state == State_Running && !thread_.joinable())
            thread_ = std::jthread([this](const std::stop_token& stop) { Film(stop); });
        if (state == State_Stopped && thread_.joinable())
            thread_ = std::jthread();
        return S_OK;
    }

    void Film(const std::stop_token& stop) const {
        const ULONGLONG start = GetTickCount64();
        for (; !stop.stop_requested(); Sleep(33)) {
            const DoubleSettings settings = CameraSettings();
            if (settings.Is("frames", "never"))
                continue;
            const Size size = pin_->CurrentSize();
            const double seconds = static_cast<double>(GetTickCount64() - start) / 1000;
            pin_->Deliver(
                MakeCameraPicture(settings.Text("pattern", "scene"), size.width, size.height, seconds));
        }
    }

    Microsoft::WRL::ComPtr<CameraPin> pin_;
    std::jthread thread_;
};

}  // namespace

IUnknown* MakeCamera() {
    return CameraFails("camera") ? nullptr : static_cast<IBaseFilter*>(new Camera);
}

}  // namespace pixelforge::test
