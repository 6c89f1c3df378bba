// The double of a capture device: a source filter that always has a picture while it runs. docs/doubles.md
// lists the settings in PIXELFORGE_CAMERA.
#include <sstream>
#include <vector>

#include "tests/support/camera_double/filter.h"

namespace pixelforge::test {

const char* const kSettings = "PIXELFORGE_CAMERA";

namespace {

constexpr CLSID kCameraClass = {0x6A9D2C1E, 0x3B57, 0x4C7A, {0x9E, 0x0F, 0x5D, 0x1B, 0x8A, 0x44, 0xC3, 0xF2}};
constexpr wchar_t kCameraText[] = L"{6A9D2C1E-3B57-4C7A-9E0F-5D1B8A44C3F2}";
constexpr wchar_t kDeviceKey[] =
    L"CLSID\\{860BB310-5D01-11D0-BD3B-00A0C911CE86}\\Instance\\{6A9D2C1E-3B57-4C7A-9E0F-5D1B8A44C3F2}";

/// From the setting "formats".
std::vector<SIZE> OfferedSizes() {
    std::vector<SIZE> sizes;
    std::istringstream text(Setting("formats", "320x240,640x480"));
    char between = 0;
    for (SIZE size = {}; text >> size.cx >> between >> size.cy; text >> between) {
        sizes.push_back(size);
    }
    return sizes;
}

AM_MEDIA_TYPE* MakeType(const SIZE& size) {
    auto* format = static_cast<VIDEOINFOHEADER*>(NewTaskBlock(sizeof(VIDEOINFOHEADER)));
    *format = {};
    format->bmiHeader = {sizeof(BITMAPINFOHEADER), size.cx, size.cy, 1, 24, BI_RGB, 0, 0, 0, 0, 0};
    auto* type = static_cast<AM_MEDIA_TYPE*>(NewTaskBlock(sizeof(AM_MEDIA_TYPE)));
    *type = {};
    type->majortype = MEDIATYPE_Video;
    type->subtype = MEDIASUBTYPE_RGB24;
    type->formattype = IsSet("formattype", "other") ? FORMAT_None : FORMAT_VideoInfo;
    type->cbFormat = static_cast<ULONG>(NumberSetting("formatbytes", sizeof(VIDEOINFOHEADER)));
    type->pbFormat = reinterpret_cast<BYTE*>(format);
    return type;
}

class Camera final : public Filter<PINDIR_OUTPUT, IAMStreamConfig>, public PictureSource {
public:
    using Filter::Filter;

    bool Newest(CameraShot& shot) const override {
        shot = {size_.cx, size_.cy, static_cast<double>(GetTickCount64() - startTick_) / 1000};
        return startTick_ != 0 && !IsSet("frames", "never");
    }

    STDMETHODIMP QueryInterface(REFIID id, void** object) override {
        return id == __uuidof(IAMStreamConfig) && Fails("streamconfig") ? E_NOINTERFACE
                                                                        : Filter::QueryInterface(id, object);
    }

    STDMETHODIMP Connect(IPin* receiver, const AM_MEDIA_TYPE*) override {
        const HRESULT result = Fails("connect") ? E_FAIL : receiver->ReceiveConnection(this, nullptr);
        peer_ = SUCCEEDED(result) ? receiver : nullptr;
        return result;
    }
    STDMETHODIMP EnumMediaTypes(IEnumMediaTypes** types) override {
        const auto at = [sizes = OfferedSizes()](ULONG index, AM_MEDIA_TYPE** type) {
            *type = index < sizes.size() ? MakeType(sizes[index]) : nullptr;
            return *type != nullptr;
        };
        *types = Fails("enumtypes") ? nullptr : new Enumerator<IEnumMediaTypes, AM_MEDIA_TYPE*>(at);
        return *types ? S_OK : E_FAIL;
    }

    STDMETHODIMP SetFormat(AM_MEDIA_TYPE* type) override {
        if (Fails("setformat") || !type || !type->pbFormat) {
            return E_FAIL;
        }
        const BITMAPINFOHEADER& header = reinterpret_cast<VIDEOINFOHEADER*>(type->pbFormat)->bmiHeader;
        size_ = {header.biWidth, header.biHeight};
        return S_OK;
    }
    STDMETHODIMP GetFormat(AM_MEDIA_TYPE** type) override {
        const bool fails = Fails("getformat");
        *type = fails || IsSet("null", "type") ? nullptr : MakeType(size_);
        if (*type && IsSet("null", "format")) {
            CoTaskMemFree(std::exchange((*type)->pbFormat, nullptr));
        }
        return fails ? E_FAIL : S_OK;
    }
    UNUSED_METHOD(ReceiveConnection, IPin*, const AM_MEDIA_TYPE*)
    UNUSED_METHOD(GetNumberOfCapabilities, int*, int*)
    UNUSED_METHOD(GetStreamCaps, int, AM_MEDIA_TYPE**, BYTE*)

private:
    HRESULT Enter(FILTER_STATE state) override {
        if (state == State_Running && Fails("run")) {
            return E_FAIL;
        }
        startTick_ = state == State_Running ? GetTickCount64() : 0;
        return Filter::Enter(state);
    }

    SIZE size_ = OfferedSizes().front();
    ULONGLONG startTick_ = 0;
};

IUnknown* MakeCamera() {
    return Fails("camera") ? nullptr : static_cast<IBaseFilter*>(new Camera(L"Video Capture"));
}

/// Programs without this double would find a camera that they cannot open.
const struct Unlister {
    ~Unlister() { ListCamera(false); }
} unlister;

}  // namespace

void ListCamera(bool listed) {
    RegDeleteKeyW(HKEY_CLASSES_ROOT, kDeviceKey);
    HKEY key = nullptr;
    if (!listed || RegCreateKeyExW(HKEY_CLASSES_ROOT, kDeviceKey, 0, nullptr, REG_OPTION_VOLATILE, KEY_WRITE,
                                   nullptr, &key, nullptr) != ERROR_SUCCESS) {
        return;
    }
    if (!IsSet("device", "nameless")) {
        RegSetValueExW(key, L"FriendlyName", 0, REG_SZ, reinterpret_cast<const BYTE*>(L"C"), 4);
    }
    RegSetValueExW(key, L"CLSID", 0, REG_SZ, reinterpret_cast<const BYTE*>(kCameraText), sizeof(kCameraText));
    RegCloseKey(key);
}

MakeObject MakerOf(REFCLSID id) {
    if (id == kCameraClass) {
        return MakeCamera;
    }
    return id == CLSID_VideoMixingRenderer ? MakeRenderer : nullptr;
}

}  // namespace pixelforge::test
