// Building, running and releasing the camera graph.
#include "inputs/webcam_graph.h"

#include <utility>

// mingw-w64 declares these interfaces without their IIDs.
#ifdef __CRT_UUID_DECL
__CRT_UUID_DECL(IVMRWindowlessControl, 0x0EB1088C, 0x4DCD, 0x46F0, 0x87, 0x8F, 0x39, 0xDA, 0xE8, 0x6A, 0x51,
                0xB7)
__CRT_UUID_DECL(IMediaEventEx, 0x56A868C0, 0x0AD4, 0x11CE, 0xB0, 0x3A, 0x00, 0x20, 0xAF, 0x0B, 0xA7, 0x70)
__CRT_UUID_DECL(IVMRFilterConfig, 0x9E5530C5, 0x7034, 0x48B4, 0xBB, 0x46, 0x0B, 0x8A, 0x6E, 0xFC, 0x8E, 0x36)
#endif

namespace pixelforge {
namespace {

using Microsoft::WRL::ComPtr;

constexpr LONG kWantedWidth = 640;
constexpr LONG kWantedHeight = 480;

void FreeMediaType(AM_MEDIA_TYPE* type) noexcept {
    if (!type) {
        return;
    }
    CoTaskMemFree(type->pbFormat);
    if (type->pUnk) {
        type->pUnk->Release();
    }
    CoTaskMemFree(type);
}

struct MediaTypeDeleter {
    void operator()(AM_MEDIA_TYPE* type) const noexcept { FreeMediaType(type); }
};

using UniqueMediaType = std::unique_ptr<AM_MEDIA_TYPE, MediaTypeDeleter>;

/// Null if the format block is missing, too short or of another type.
const BITMAPINFOHEADER* VideoHeaderOf(const AM_MEDIA_TYPE& type) noexcept {
    if (!type.pbFormat || type.cbFormat < sizeof(VIDEOINFOHEADER) || type.formattype != FORMAT_VideoInfo) {
        return nullptr;
    }
    return &reinterpret_cast<const VIDEOINFOHEADER*>(type.pbFormat)->bmiHeader;
}

bool IsWanted(const AM_MEDIA_TYPE& type) noexcept {
    const BITMAPINFOHEADER* header = VideoHeaderOf(type);
    return header && header->biWidth == kWantedWidth && header->biHeight == kWantedHeight;
}

/// The first 640 x 480 format that the pin offers, or null.
UniqueMediaType FindWantedType(IPin& pin) {
    ComPtr<IEnumMediaTypes> types;
    if (FAILED(pin.EnumMediaTypes(types.GetAddressOf())) || !types) {
        return nullptr;
    }
    AM_MEDIA_TYPE* next = nullptr;
    while (types->Next(1, &next, nullptr) == S_OK && next) {
        UniqueMediaType type(std::exchange(next, nullptr));
        if (IsWanted(*type)) {
            return type;
        }
    }
    return nullptr;
}

/// Skips devices without a FriendlyName.
void BindNamedDevice(IMoniker& moniker, ComPtr<IBaseFilter>& filter) {
    ComPtr<IPropertyBag> properties;
    if (FAILED(moniker.BindToStorage(nullptr, nullptr, IID_PPV_ARGS(properties.GetAddressOf()))) ||
        !properties) {
        return;
    }
    VARIANT name;
    VariantInit(&name);
    name.vt = VT_BSTR;
    if (properties->Read(L"FriendlyName", &name, nullptr) == S_OK) {
        moniker.BindToObject(nullptr, nullptr, IID_PPV_ARGS(filter.ReleaseAndGetAddressOf()));
    }
    VariantClear(&name);
}

std::size_t TaskBlockBytes(void* block) noexcept {
    ComPtr<IMalloc> heap;
    if (!block || FAILED(CoGetMalloc(1, heap.GetAddressOf()))) {
        return 0;
    }
    const SIZE_T bytes = heap->GetSize(block);
    return bytes == static_cast<SIZE_T>(-1) ? 0 : bytes;
}

}  // namespace

bool FindCaptureDevice(ComPtr<IBaseFilter>& filter) {
    ComPtr<ICreateDevEnum> devices;
    ComPtr<IEnumMoniker> monikers;
    if (FAILED(CoCreateInstance(CLSID_SystemDeviceEnum, nullptr, CLSCTX_INPROC_SERVER,
                                IID_PPV_ARGS(devices.GetAddressOf()))) ||
        !devices) {
        return false;
    }
    // S_FALSE: there is no camera.
    if (devices->CreateClassEnumerator(CLSID_VideoInputDeviceCategory, monikers.GetAddressOf(), 0) != S_OK ||
        !monikers) {
        return false;
    }
    monikers->Reset();
    ComPtr<IMoniker> moniker;
    if (monikers->Next(1, moniker.GetAddressOf(), nullptr) == S_OK && moniker) {
        BindNamedDevice(*moniker.Get(), filter);
    }
    return true;
}

CVMR_Capture::~CVMR_Capture() {
    if (control) {
        control->Stop();
    }
    state = State_Stopped;
    if (capturePin) {
        capturePin->Disconnect();
    }
    capturePin.Reset();
    events.Reset();
    control.Reset();
    graph.Reset();
    vmrControl.Reset();
    captureFilter.Reset();
    // An apartment can be left only by the thread that entered it.
    if (apartmentThread != GetCurrentThreadId()) {
        apartment.Abandon();
    }
}

HRESULT CVMR_Capture::StartGraph() {
    HRESULT result = CoCreateInstance(CLSID_FilterGraph, nullptr, CLSCTX_INPROC_SERVER,
                                      IID_PPV_ARGS(graph.ReleaseAndGetAddressOf()));
    if (FAILED(result) || !graph) {
        return FAILED(result) ? result : E_POINTER;
    }
    AddRenderer();
    if (!FindCaptureDevice(captureFilter)) {
        return S_FALSE;
    }
    result = AddCaptureFilter();
    if (FAILED(result)) {
        return result;
    }
    graph.As(&control);
    graph.As(&events);
    if (!control || !capturePin || FAILED(NegotiateFormat())) {
        return E_FAIL;
    }
    return RunGraph();
}

/// Windowless: the renderer never appears on the screen. Failures are ignored; without `vmrControl` there are
/// no snapshots.
void CVMR_Capture::AddRenderer() {
    ComPtr<IBaseFilter> renderer;
    if (FAILED(CoCreateInstance(CLSID_VideoMixingRenderer, nullptr, CLSCTX_INPROC,
                                IID_PPV_ARGS(renderer.GetAddressOf()))) ||
        !renderer || FAILED(graph->AddFilter(renderer.Get(), L"Video Mixing Renderer"))) {
        return;
    }
    ComPtr<IVMRFilterConfig> config;
    if (SUCCEEDED(renderer.As(&config)) && config) {
        config->SetRenderingMode(VMRMode_Windowless);
    }
    if (SUCCEEDED(renderer.As(&vmrControl)) && vmrControl) {
        vmrControl->SetVideoClippingWindow(nullptr);
    }
}

/// Also fetches the filter's first pin, if any.
HRESULT CVMR_Capture::AddCaptureFilter() {
    if (!captureFilter) {
        return E_POINTER;
    }
    const HRESULT result = graph->AddFilter(captureFilter.Get(), L"Video Capture");
    if (FAILED(result)) {
        return result;
    }
    ComPtr<IEnumPins> pins;
    if (SUCCEEDED(captureFilter->EnumPins(pins.GetAddressOf())) && pins) {
        pins->Reset();
        pins->Next(1, capturePin.ReleaseAndGetAddressOf(), nullptr);
    }
    return S_OK;
}

/// Requests 640 x 480 if offered; otherwise the device keeps its format.
HRESULT CVMR_Capture::NegotiateFormat() {
    const UniqueMediaType wanted = FindWantedType(*capturePin.Get());
    ComPtr<IAMStreamConfig> config;
    if (SUCCEEDED(capturePin.As(&config)) && config) {
        if (wanted) {
            config->SetFormat(wanted.get());
        }
        if (const HRESULT result = ReadVideoSize(*config.Get()); FAILED(result)) {
            return result;
        }
    }
    return SetVideoPosition();
}

HRESULT CVMR_Capture::ReadVideoSize(IAMStreamConfig& config) {
    AM_MEDIA_TYPE* format = nullptr;
    if (FAILED(config.GetFormat(&format)) || !format) {
        return S_OK;
    }
    const UniqueMediaType owner(format);
    if (!format->pbFormat) {
        return E_FAIL;
    }
    if (const BITMAPINFOHEADER* header = VideoHeaderOf(*format)) {
        videoWidth = header->biWidth;
        videoHeight = header->biHeight;
    }
    return S_OK;
}

/// There is no window for the video, hence the empty rectangle.
HRESULT CVMR_Capture::SetVideoPosition() {
    RECT empty = {};
    return vmrControl ? vmrControl->SetVideoPosition(nullptr, &empty) : E_POINTER;
}

HRESULT CVMR_Capture::RunGraph() {
    state = State_Stopped;
    graph->Render(capturePin.Get());
    const HRESULT result = control->Run();
    state = State_Running;
    return result;
}

Snapshot CVMR_Capture::TakeSnapshot() const {
    BYTE* image = nullptr;
    const bool taken = vmrControl && SUCCEEDED(vmrControl->GetCurrentImage(&image));
    return {std::unique_ptr<BYTE, SnapshotDeleter>(image), taken ? TaskBlockBytes(image) : 0};
}

}  // namespace pixelforge
