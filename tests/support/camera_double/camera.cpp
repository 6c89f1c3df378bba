// The doubles of a capture device and of the windowless video renderer; see docs/doubles.md.
#include <windows.h>

#define NO_DSHOW_STRSAFE
#include <dshow.h>
#include <wrl/client.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <sstream>
#include <utility>
#include <vector>

#include "tests/support/device_double.h"

__CRT_UUID_DECL(IVMRWindowlessControl, 0x0EB1088C, 0x4DCD, 0x46F0, 0x87, 0x8F, 0x39, 0xDA, 0xE8, 0x6A, 0x51,
                0xB7)
__CRT_UUID_DECL(IVMRFilterConfig, 0x9E5530C5, 0x7034, 0x48B4, 0xBB, 0x46, 0x0B, 0x8A, 0x6E, 0xFC, 0x8E, 0x36)

namespace pixelforge::test {

const char* const kSettings = "PIXELFORGE_CAMERA";

namespace {

constexpr CLSID kCameraClass = {0x6A9D2C1E, 0x3B57, 0x4C7A, {0x9E, 0x0F, 0x5D, 0x1B, 0x8A, 0x44, 0xC3, 0xF2}};
constexpr wchar_t kCameraText[] = L"{6A9D2C1E-3B57-4C7A-9E0F-5D1B8A44C3F2}";
constexpr wchar_t kDeviceKey[] =
    L"CLSID\\{860BB310-5D01-11D0-BD3B-00A0C911CE86}\\Instance\\{6A9D2C1E-3B57-4C7A-9E0F-5D1B8A44C3F2}";

/// An enumerator of COM objects or media types.
template <class Interface, class Item>
class Enumerator final : public ComObject<Interface> {
public:
    /// False past the end.
    using At = std::function<bool(ULONG index, Item* item)>;

    explicit Enumerator(At at) : at_(std::move(at)) {}

    /// Items are fetched one by one.
    STDMETHODIMP Next(ULONG wanted, Item* item, ULONG* fetched) override {
        const bool found = wanted == 1 && at_(position_++, item);
        if (fetched) {
            *fetched = found;
        }
        return found ? S_OK : S_FALSE;
    }
    STDMETHODIMP Reset() override { return Set(position_, 0U); }
    UNUSED_METHODS((Skip, ULONG), (Clone, Interface**))

private:
    const At at_;
    ULONG position_ = 0;
};

/// A filter that is its own, only pin.
template <PIN_DIRECTION direction, class... Others>
class Filter : public ComObject<IBaseFilter, IPin, Others...> {
public:
    STDMETHODIMP Stop() override { return Enter(State_Stopped); }
    STDMETHODIMP Pause() override { return Enter(State_Paused); }
    STDMETHODIMP Run(REFERENCE_TIME) override { return Enter(State_Running); }
    STDMETHODIMP GetState(DWORD, FILTER_STATE* state) override { return Set(*state, state_); }
    STDMETHODIMP SetSyncSource(IReferenceClock*) override { return S_OK; }
    STDMETHODIMP EnumPins(IEnumPins** pins) override {
        const auto at = [pin = Microsoft::WRL::ComPtr<IPin>(this)](ULONG index, IPin** found) {
            *found = nullptr;
            return index == 0 && !Fails("pin") && SUCCEEDED(pin.CopyTo(found));
        };
        *pins = Fails("enumpins") ? nullptr : new Enumerator<IEnumPins, IPin*>(at);
        return *pins ? S_OK : E_FAIL;
    }
    STDMETHODIMP QueryFilterInfo(FILTER_INFO* info) override {
        *info = {{}, Microsoft::WRL::ComPtr<IFilterGraph>(graph_).Detach()};
        return S_OK;
    }
    STDMETHODIMP JoinFilterGraph(IFilterGraph* graph, LPCWSTR) override { return Set(graph_, graph); }
    UNUSED_METHODS((GetSyncSource, IReferenceClock**), (GetClassID, CLSID*), (FindPin, LPCWSTR, IPin**),
                   (QueryVendorInfo, LPWSTR*))

    /// Only a stopped filter may be disconnected.
    STDMETHODIMP Disconnect() override {
        Require(!peer_ || state_ == State_Stopped);
        return std::exchange(peer_, nullptr) ? S_OK : S_FALSE;
    }
    STDMETHODIMP ConnectedTo(IPin** pin) override {
        *pin = nullptr;
        return peer_ ? peer_.CopyTo(pin) : VFW_E_NOT_CONNECTED;
    }
    STDMETHODIMP QueryPinInfo(PIN_INFO* info) override {
        *info = {this, direction, {}};
        this->AddRef();
        return S_OK;
    }
    STDMETHODIMP QueryDirection(PIN_DIRECTION* own) override { return Set(*own, direction); }
    STDMETHODIMP QueryAccept(const AM_MEDIA_TYPE*) override { return S_OK; }
    UNUSED_METHODS((ConnectionMediaType, AM_MEDIA_TYPE*), (QueryId, LPWSTR*),
                   (QueryInternalConnections, IPin**, ULONG*), (EndOfStream), (BeginFlush), (EndFlush),
                   (NewSegment, REFERENCE_TIME, REFERENCE_TIME, double))

protected:
    virtual HRESULT Enter(FILTER_STATE state) { return Set(state_, state); }
    void OfferBase(REFIID id, void** object) override {
        if (id == __uuidof(IMediaFilter) || id == __uuidof(IPersist)) {
            *object = static_cast<IBaseFilter*>(this);
        }
        if ((id == __uuidof(IAMStreamConfig) && Fails("streamconfig")) ||
            (id == __uuidof(IVMRWindowlessControl) && Fails("windowless")) ||
            (id == __uuidof(IVMRFilterConfig) && Fails("config"))) {
            *object = nullptr;
        }
    }

    Microsoft::WRL::ComPtr<IPin> peer_;

private:
    FILTER_STATE state_ = State_Stopped;
    IFilterGraph* graph_ = nullptr;  ///< not owned: the graph owns the filter
};

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
    type->formattype = Setting("formattype") == "other" ? FORMAT_None : FORMAT_VideoInfo;
    type->cbFormat = NumberSetting<ULONG>("formatbytes", sizeof(VIDEOINFOHEADER));
    type->pbFormat = reinterpret_cast<BYTE*>(format);
    return type;
}

constexpr std::uint32_t kQuadrants[2][2] = {{0x0000FF, 0xFFFFFF}, {0xFF0000, 0x00FF00}};

/// For manual use: a sun that crosses an evening sky.
std::uint32_t Scene(double x, double y, double seconds) {
    const double glow = std::exp(-5 * std::hypot(x - std::fmod(seconds * 0.05, 1.0), y - 0.7));
    const auto level = [glow](double sky) {
        return static_cast<std::uint32_t>(std::min(sky + glow, 1.0) * 255);
    };
    return level(0.9 - 0.6 * y) << 16 | level(0.5 - 0.2 * y) << 8 | level(0.3 + 0.3 * y);
}

class Camera final : public Filter<PINDIR_OUTPUT, IAMStreamConfig> {
public:
    /// A packed DIB for the renderer: no frames flow between the two doubles. Empty unless the camera runs.
    std::vector<BYTE> Picture() const {
        if (startTick_ == 0) {
            return {};
        }
        const auto bits = NumberSetting<WORD>("image", 32);
        const bool topDown = Setting("topdown") == "1";
        const bool quadrants = Setting("pattern") == "quadrants";
        const double seconds = static_cast<double>(GetTickCount64() - startTick_) / 1000;
        const auto [width, height] = size_;
        const BITMAPINFOHEADER header = {
            sizeof(header), width, topDown ? -height : height, 1, bits, BI_RGB, 0, 0, 0, 0, 0};
        const std::size_t rowBytes = (static_cast<std::size_t>(width) * bits + 31) / 32 * 4;
        std::vector<BYTE> block(sizeof(header) + rowBytes * static_cast<std::size_t>(height));
        std::memcpy(block.data(), &header, sizeof(header));
        for (LONG row = 0; row < height; ++row) {
            const double y = ((topDown ? height - 1 - row : row) + 0.5) / height;
            BYTE* to = &block[sizeof(header) + rowBytes * static_cast<std::size_t>(row)];
            for (LONG column = 0; column < width; ++column, to += bits / 8) {
                const double x = (column + 0.5) / width;
                const auto colour = quadrants ? kQuadrants[y >= 0.5][x >= 0.5] : Scene(x, y, seconds);
                std::memcpy(to, &colour, bits / 8);
            }
        }
        return block;
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
        *type = fails || Setting("null") == "type" ? nullptr : MakeType(size_);
        if (*type && Setting("null") == "format") {
            CoTaskMemFree(std::exchange((*type)->pbFormat, nullptr));
        }
        return fails ? E_FAIL : S_OK;
    }
    UNUSED_METHODS((ReceiveConnection, IPin*, const AM_MEDIA_TYPE*), (GetNumberOfCapabilities, int*, int*),
                   (GetStreamCaps, int, AM_MEDIA_TYPE**, BYTE*))

private:
    HRESULT Enter(FILTER_STATE state) override {
        if (state == State_Running && Fails("run")) {
            return E_FAIL;
        }
        startTick_ = state == State_Running ? GetTickCount64() : 0;
        return Filter::Enter(state);
    }

    SIZE size_ = OfferedSizes().front();
    ULONGLONG startTick_ = 0;  ///< 0: stopped
};

IUnknown* MakeCamera() {
    return Fails("camera") ? nullptr : static_cast<IBaseFilter*>(new Camera);
}

class Renderer final : public Filter<PINDIR_INPUT, IVMRFilterConfig, IVMRWindowlessControl> {
public:
    STDMETHODIMP ReceiveConnection(IPin* source, const AM_MEDIA_TYPE*) override { return Set(peer_, source); }
    UNUSED_METHODS((Connect, IPin*, const AM_MEDIA_TYPE*), (EnumMediaTypes, IEnumMediaTypes**))

    STDMETHODIMP SetRenderingMode(DWORD mode) override {
        return Set(windowless_, mode == VMRMode_Windowless);
    }
    STDMETHODIMP SetVideoPosition(const LPRECT source, const LPRECT place) override {
        return Fails("position") || source || !place || !IsRectEmpty(place) ? E_FAIL : S_OK;
    }
    STDMETHODIMP SetVideoClippingWindow(HWND window) override { return window ? S_OK : E_FAIL; }

    /// The setting "block" makes the block smaller than its header claims.
    STDMETHODIMP GetCurrentImage(BYTE** image) override {
        *image = nullptr;
        const auto* camera = dynamic_cast<const Camera*>(peer_.Get());  // nothing else connects
        const std::vector<BYTE> bytes = camera ? camera->Picture() : std::vector<BYTE>();
        if (Fails("image") || !windowless_ || bytes.empty()) {
            return E_FAIL;
        }
        if (Setting("null") != "image") {
            const auto size = NumberSetting<std::size_t>("block", bytes.size());
            *image = static_cast<BYTE*>(NewTaskBlock(size, 0));
            std::memcpy(*image, bytes.data(), std::min(size, bytes.size()));
        }
        return S_OK;
    }

    UNUSED_METHODS((SetImageCompositor, IVMRImageCompositor*), (SetNumberOfStreams, DWORD),
                   (GetNumberOfStreams, DWORD*), (SetRenderingPrefs, DWORD), (GetRenderingPrefs, DWORD*),
                   (GetRenderingMode, DWORD*), (GetNativeVideoSize, LONG*, LONG*, LONG*, LONG*),
                   (GetMinIdealVideoSize, LONG*, LONG*), (GetMaxIdealVideoSize, LONG*, LONG*))
    UNUSED_METHODS((GetVideoPosition, LPRECT, LPRECT), (GetAspectRatioMode, DWORD*),
                   (SetAspectRatioMode, DWORD), (RepaintVideo, HWND, HDC), (DisplayModeChanged),
                   (SetBorderColor, COLORREF), (GetBorderColor, COLORREF*), (SetColorKey, COLORREF),
                   (GetColorKey, COLORREF*))

private:
    bool windowless_ = false;
};

/// Adds the camera to the system's device list, or removes it.
void ListCamera(bool listed) {
    RegDeleteKeyW(HKEY_CLASSES_ROOT, kDeviceKey);
    HKEY key = nullptr;
    if (!listed || RegCreateKeyExW(HKEY_CLASSES_ROOT, kDeviceKey, 0, nullptr, REG_OPTION_VOLATILE, KEY_WRITE,
                                   nullptr, &key, nullptr) != ERROR_SUCCESS) {
        return;
    }
    if (Setting("device") != "nameless") {
        RegSetValueExW(key, L"FriendlyName", 0, REG_SZ, reinterpret_cast<const BYTE*>(L"C"), 4);
    }
    RegSetValueExW(key, L"CLSID", 0, REG_SZ, reinterpret_cast<const BYTE*>(kCameraText), sizeof(kCameraText));
    RegCloseKey(key);
}

/// Programs without this double would find a camera that they cannot open.
const struct Unlister {
    ~Unlister() { ListCamera(false); }
} unlister;

/// The module creates the renderer first, so the device list is up to date when it searches for a camera.
IUnknown* MakeRenderer() {
    ListCamera(Setting("device") != "none");
    return Fails("renderer") ? nullptr : static_cast<IBaseFilter*>(new Renderer);
}

}  // namespace

MakeObject MakerOf(REFCLSID id) {
    return id == kCameraClass ? MakeCamera : id == CLSID_VideoMixingRenderer ? MakeRenderer : nullptr;
}

}  // namespace pixelforge::test
