// What both filters of the stand-in camera have in common: a filter with one pin.
#pragma once

#include <windows.h>

#define NO_DSHOW_STRSAFE
#include <dshow.h>
#include <wrl/client.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <utility>

#include "tests/support/camera_double/picture.h"
#include "tests/support/com_object.h"
#include "tests/support/double_settings.h"

/// How the source hands frames to the renderer: both are ours, so no allocator is needed between them.
MIDL_INTERFACE("C3B1A6D4-7A4E-4F7B-9C58-2E6D0B9F1A37")
IPictureSink : public IUnknown {
    virtual void Take(const pixelforge::test::CameraPicture& picture) = 0;
};
__CRT_UUID_DECL(IPictureSink, 0xC3B1A6D4, 0x7A4E, 0x4F7B, 0x9C, 0x58, 0x2E, 0x6D, 0x0B, 0x9F, 0x1A, 0x37)
__CRT_UUID_DECL(IVMRWindowlessControl, 0x0EB1088C, 0x4DCD, 0x46F0, 0x87, 0x8F, 0x39, 0xDA, 0xE8, 0x6A, 0x51,
                0xB7)
__CRT_UUID_DECL(IVMRFilterConfig, 0x9E5530C5, 0x7034, 0x48B4, 0xBB, 0x46, 0x0B, 0x8A, 0x6E, 0xFC, 0x8E, 0x36)

namespace pixelforge::test {

inline DoubleSettings CameraSettings() {
    return DoubleSettings("PIXELFORGE_CAMERA");
}

/// True where the setting "fail" names the call.
inline bool CameraFails(const char* call) {
    return CameraSettings().Is("fail", call);
}

/// Copies a media type, with its format block and without an owner object.
inline void CopyMediaType(AM_MEDIA_TYPE& to, const AM_MEDIA_TYPE& from) {
    to = from;
    to.pUnk = nullptr;
    to.pbFormat = nullptr;
    if (from.cbFormat > 0 && from.pbFormat) {
        to.pbFormat = static_cast<BYTE*>(CoTaskMemAlloc(from.cbFormat));
        std::memcpy(to.pbFormat, from.pbFormat, from.cbFormat);
    }
}

/// A list of COM objects or of media types, walked with Next, Reset, Skip and Clone.
template <class List, class Item>
class ListOf : public ComObject<List> {
public:
    HRESULT STDMETHODCALLTYPE Next(ULONG wanted, Item* items, ULONG* fetched) override {
        ULONG count = 0;
        for (; count < wanted && At(position_, items + count); ++count)
            ++position_;
        if (fetched)
            *fetched = count;
        return count == wanted ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Skip(ULONG count) override {
        position_ += count;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Reset() override {
        position_ = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Clone(List** list) override {
        *list = nullptr;
        return E_NOTIMPL;
    }

protected:
    /// False behind the end.
    virtual bool At(ULONG index, Item* item) = 0;

private:
    ULONG position_ = 0;
};

class PinList final : public ListOf<IEnumPins, IPin*> {
public:
    explicit PinList(IPin* pin) : pin_(pin) {}

private:
    bool At(ULONG index, IPin** pin) override {
        *pin = nullptr;
        if (index > 0 || !pin_ || CameraFails("pin"))
            return false;
        pin_.CopyTo(pin);
        return true;
    }
    Microsoft::WRL::ComPtr<IPin> pin_;
};

template <class... Others>
class Pin : public ComObject<IPin, Others...> {
public:
    Pin(PIN_DIRECTION direction, IBaseFilter* filter) : direction_(direction), filter_(filter) {}
    ~Pin() override { CoTaskMemFree(type_.pbFormat); }

    void LoseFilter() { filter_ = nullptr; }
    IPin* Peer() const { return peer_.Get(); }

    HRESULT STDMETHODCALLTYPE Disconnect() override {
        const bool connected = peer_ != nullptr;
        peer_.Reset();
        return connected ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE ConnectedTo(IPin** pin) override {
        *pin = nullptr;
        return peer_ ? peer_.CopyTo(pin) : VFW_E_NOT_CONNECTED;
    }
    HRESULT STDMETHODCALLTYPE ConnectionMediaType(AM_MEDIA_TYPE* type) override {
        if (!peer_)
            return VFW_E_NOT_CONNECTED;
        CopyMediaType(*type, type_);
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE QueryPinInfo(PIN_INFO* info) override {
        *info = {};
        info->pFilter = filter_;
        if (filter_)
            filter_->AddRef();
        info->dir = direction_;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE QueryDirection(PIN_DIRECTION* direction) override {
        *direction = direction_;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE QueryId(LPWSTR* id) override {
        *id = static_cast<LPWSTR>(CoTaskMemAlloc(2 * sizeof(wchar_t)));
        (*id)[0] = L'1';
        (*id)[1] = L'\0';
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE QueryAccept(const AM_MEDIA_TYPE*) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE QueryInternalConnections(IPin**, ULONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE EndOfStream() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE BeginFlush() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE EndFlush() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE NewSegment(REFERENCE_TIME, REFERENCE_TIME, double) override { return S_OK; }

protected:
    void ConnectTo(IPin* peer, const AM_MEDIA_TYPE& type) {
        CoTaskMemFree(type_.pbFormat);
        CopyMediaType(type_, type);
        peer_ = peer;
    }

private:
    const PIN_DIRECTION direction_;
    IBaseFilter* filter_;
    Microsoft::WRL::ComPtr<IPin> peer_;
    AM_MEDIA_TYPE type_ = {};
};

template <class... Others>
class Filter : public ComObject<IBaseFilter, Others...> {
public:
    HRESULT STDMETHODCALLTYPE GetClassID(CLSID* id) override {
        *id = {};
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Stop() override { return Enter(State_Stopped); }
    HRESULT STDMETHODCALLTYPE Pause() override { return Enter(State_Paused); }
    HRESULT STDMETHODCALLTYPE Run(REFERENCE_TIME) override { return Enter(State_Running); }
    HRESULT STDMETHODCALLTYPE GetState(DWORD, FILTER_STATE* state) override {
        *state = state_;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetSyncSource(IReferenceClock*) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE GetSyncSource(IReferenceClock** clock) override {
        *clock = nullptr;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE EnumPins(IEnumPins** pins) override {
        *pins = CameraFails("enumpins") ? nullptr : new PinList(OnlyPin());
        return *pins ? S_OK : E_FAIL;
    }
    HRESULT STDMETHODCALLTYPE FindPin(LPCWSTR, IPin** pin) override {
        *pin = nullptr;
        return VFW_E_NOT_FOUND;
    }
    HRESULT STDMETHODCALLTYPE QueryFilterInfo(FILTER_INFO* info) override {
        *info = {};
        lstrcpynW(info->achName, name_.c_str(), MAX_FILTER_NAME);
        info->pGraph = graph_;
        if (graph_)
            graph_->AddRef();
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE JoinFilterGraph(IFilterGraph* graph, LPCWSTR name) override {
        graph_ = graph;
        name_ = name ? name : L"";
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE QueryVendorInfo(LPWSTR*) override { return E_NOTIMPL; }

protected:
    virtual IPin* OnlyPin() = 0;
    virtual HRESULT Enter(FILTER_STATE state) {
        state_ = state;
        return S_OK;
    }
    void OfferBase(REFIID id, void** object) override {
        if (id == __uuidof(IMediaFilter) || id == __uuidof(IPersist))
            *object = static_cast<IBaseFilter*>(this);
    }

private:
    std::atomic<FILTER_STATE> state_{State_Stopped};
    IFilterGraph* graph_ = nullptr;  ///< the graph holds the filter, not the other way round
    std::wstring name_;
};

IUnknown* MakeCamera();
IUnknown* MakeRenderer();

}  // namespace pixelforge::test
