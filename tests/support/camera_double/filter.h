// What the camera double's filters share: a filter with one pin.
#pragma once

#include <windows.h>

#define NO_DSHOW_STRSAFE
#include <dshow.h>
#include <wrl/client.h>

#include <functional>
#include <utility>

#include "tests/support/device_double.h"

__CRT_UUID_DECL(IVMRWindowlessControl, 0x0EB1088C, 0x4DCD, 0x46F0, 0x87, 0x8F, 0x39, 0xDA, 0xE8, 0x6A, 0x51,
                0xB7)
__CRT_UUID_DECL(IVMRFilterConfig, 0x9E5530C5, 0x7034, 0x48B4, 0xBB, 0x46, 0x0B, 0x8A, 0x6E, 0xFC, 0x8E, 0x36)

namespace pixelforge::test {

/// An enumerator of COM objects or media types.
template <class Interface, class Item>
class Enumerator final : public ComObject<Interface> {
public:
    /// False past the end.
    using At = std::function<bool(ULONG index, Item* item)>;

    explicit Enumerator(At at) : at_(std::move(at)) {}

    STDMETHODIMP Next(ULONG wanted, Item* items, ULONG* fetched) override {
        ULONG count = 0;
        for (; count < wanted && at_(position_, items + count); ++count) {
            ++position_;
        }
        if (fetched) {
            *fetched = count;
        }
        return count == wanted ? S_OK : S_FALSE;
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
    /// The name is the one that the graph must know it by.
    explicit Filter(std::wstring_view name) : name_(name) {}

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
        *info = {{}, graph_};
        if (graph_) {
            graph_->AddRef();
        }
        return S_OK;
    }
    STDMETHODIMP JoinFilterGraph(IFilterGraph* graph, LPCWSTR name) override {
        if (graph && name_ != name) {
            CountCall("misuse");
        }
        return Set(graph_, graph);
    }
    UNUSED_METHODS((GetSyncSource, IReferenceClock**), (GetClassID, CLSID*), (FindPin, LPCWSTR, IPin**),
                   (QueryVendorInfo, LPWSTR*))

    /// Only a stopped filter may be disconnected.
    STDMETHODIMP Disconnect() override {
        if (peer_ && state_ != State_Stopped) {
            CountCall("misuse");
        }
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
    }

    Microsoft::WRL::ComPtr<IPin> peer_;

private:
    const std::wstring name_;
    FILTER_STATE state_ = State_Stopped;
    IFilterGraph* graph_ = nullptr;  ///< not owned: the graph owns the filter
};

}  // namespace pixelforge::test
