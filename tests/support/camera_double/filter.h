// What the camera double's filters share: a filter with one pin.
#pragma once

#include <windows.h>

#define NO_DSHOW_STRSAFE
#include <dshow.h>
#include <wrl/client.h>

#include "tests/support/camera_double/picture.h"
#include "tests/support/com_object.h"
#include "tests/support/double_settings.h"

/// How the renderer gets the camera's picture: no frames flow between the two doubles.
MIDL_INTERFACE("C3B1A6D4-7A4E-4F7B-9C58-2E6D0B9F1A37")
IPictureSource : public IUnknown {
    /// False if there is no frame yet.
    virtual bool Newest(pixelforge::test::CameraShot & shot) = 0;
};
__CRT_UUID_DECL(IPictureSource, 0xC3B1A6D4, 0x7A4E, 0x4F7B, 0x9C, 0x58, 0x2E, 0x6D, 0x0B, 0x9F, 0x1A, 0x37)
__CRT_UUID_DECL(IVMRWindowlessControl, 0x0EB1088C, 0x4DCD, 0x46F0, 0x87, 0x8F, 0x39, 0xDA, 0xE8, 0x6A, 0x51,
                0xB7)
__CRT_UUID_DECL(IVMRFilterConfig, 0x9E5530C5, 0x7034, 0x48B4, 0xBB, 0x46, 0x0B, 0x8A, 0x6E, 0xFC, 0x8E, 0x36)

namespace pixelforge::test {

inline DoubleSettings CameraSettings() {
    return DoubleSettings("PIXELFORGE_CAMERA");
}

/// True if the setting "fail" names this call.
inline bool CameraFails(const char* call) {
    return CameraSettings().Is("fail", call);
}

/// An enumerator of COM objects or media types.
template <class Interface, class Item>
class Enumerator : public ComObject<Interface> {
public:
    HRESULT STDMETHODCALLTYPE Next(ULONG wanted, Item* items, ULONG* fetched) override {
        ULONG count = 0;
        for (; count < wanted && At(position_, items + count); ++count) {
            ++position_;
        }
        if (fetched) {
            *fetched = count;
        }
        return count == wanted ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE Reset() override {
        position_ = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE Skip(ULONG) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Clone(Interface**) override { return E_NOTIMPL; }

protected:
    /// False past the end.
    virtual bool At(ULONG index, Item* item) = 0;

private:
    ULONG position_ = 0;
};

class PinEnumerator final : public Enumerator<IEnumPins, IPin*> {
public:
    explicit PinEnumerator(IPin* pin) : pin_(pin) {}

private:
    bool At(ULONG index, IPin** pin) override {
        *pin = nullptr;
        return index == 0 && !CameraFails("pin") && SUCCEEDED(pin_.CopyTo(pin));
    }
    Microsoft::WRL::ComPtr<IPin> pin_;
};

template <class... Others>
class Pin : public ComObject<IPin, Others...> {
public:
    Pin(PIN_DIRECTION direction, IBaseFilter* filter) : direction_(direction), filter_(filter) {}

    void DetachFilter() { filter_ = nullptr; }

    HRESULT STDMETHODCALLTYPE Disconnect() override {
        const bool connected = peer_ != nullptr;
        peer_.Reset();
        return connected ? S_OK : S_FALSE;
    }
    HRESULT STDMETHODCALLTYPE ConnectedTo(IPin** pin) override {
        *pin = nullptr;
        return peer_ ? peer_.CopyTo(pin) : VFW_E_NOT_CONNECTED;
    }
    HRESULT STDMETHODCALLTYPE QueryPinInfo(PIN_INFO* info) override {
        *info = {};
        info->pFilter = filter_;
        if (filter_) {
            filter_->AddRef();
        }
        info->dir = direction_;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE QueryDirection(PIN_DIRECTION* direction) override {
        *direction = direction_;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE ConnectionMediaType(AM_MEDIA_TYPE*) override { return VFW_E_NOT_CONNECTED; }
    HRESULT STDMETHODCALLTYPE QueryId(LPWSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE QueryAccept(const AM_MEDIA_TYPE*) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE QueryInternalConnections(IPin**, ULONG*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE EndOfStream() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE BeginFlush() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE EndFlush() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE NewSegment(REFERENCE_TIME, REFERENCE_TIME, double) override { return S_OK; }

protected:
    Microsoft::WRL::ComPtr<IPin> peer_;

private:
    const PIN_DIRECTION direction_;
    IBaseFilter* filter_;
};

/// A filter that creates and owns its only pin.
template <class OnlyPin, class... Others>
class Filter : public ComObject<IBaseFilter, Others...> {
public:
    Filter() { *pin_.GetAddressOf() = new OnlyPin(this); }  // this header's `Attach` adds a reference
    ~Filter() override { pin_->DetachFilter(); }

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
        *pins = CameraFails("enumpins") ? nullptr : new PinEnumerator(pin_.Get());
        return *pins ? S_OK : E_FAIL;
    }
    HRESULT STDMETHODCALLTYPE QueryFilterInfo(FILTER_INFO* info) override {
        *info = {};
        info->pGraph = graph_;
        if (graph_) {
            graph_->AddRef();
        }
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE JoinFilterGraph(IFilterGraph* graph, LPCWSTR) override {
        graph_ = graph;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetClassID(CLSID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE FindPin(LPCWSTR, IPin**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE QueryVendorInfo(LPWSTR*) override { return E_NOTIMPL; }

protected:
    virtual HRESULT Enter(FILTER_STATE state) {
        state_ = state;
        return S_OK;
    }
    void OfferBase(REFIID id, void** object) override {
        if (id == __uuidof(IMediaFilter) || id == __uuidof(IPersist)) {
            *object = static_cast<IBaseFilter*>(this);
        }
    }

    Microsoft::WRL::ComPtr<OnlyPin> pin_;

private:
    FILTER_STATE state_ = State_Stopped;
    IFilterGraph* graph_ = nullptr;  ///< not owned: the graph owns the filter
};

IUnknown* MakeCamera();
IUnknown* MakeRenderer();

}  // namespace pixelforge::test
