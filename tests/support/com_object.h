// Base classes for the COM objects of the device doubles.
#pragma once

#include <windows.h>

#include <unknwn.h>

#include <atomic>
#include <utility>

namespace pixelforge::test {

/// Live objects of this DLL, including class factories; tests check it for leaks.
inline std::atomic<long> liveObjects{0};

/// An object with the given interfaces; the first is its identity. Starts with one reference.
template <class First, class... Others>
class ComObject : public First, public Others... {
public:
    ComObject() { ++liveObjects; }
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override {
        *object = nullptr;
        if (id == __uuidof(IUnknown) || id == __uuidof(First)) {
            *object = static_cast<First*>(this);
        }
        (Offer<Others>(id, object), ...);
        OfferBase(id, object);
        if (!*object) {
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }

    ULONG STDMETHODCALLTYPE AddRef() override { return ++references_; }

    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --references_;
        if (left == 0) {
            delete this;
        }
        return left;
    }

protected:
    virtual ~ComObject() { --liveObjects; }

    /// Override for the interfaces that `First` derives from.
    virtual void OfferBase(REFIID, void**) {}

private:
    template <class Interface>
    void Offer(REFIID id, void** object) {
        if (id == __uuidof(Interface)) {
            *object = static_cast<Interface*>(this);
        }
    }

    std::atomic<ULONG> references_{1};
};

/// Transfers the object's only reference to the caller as interface `id`. Fails if `made` is null.
inline HRESULT TransferReference(IUnknown* made, REFIID id, void** object) {
    *object = nullptr;
    if (!made) {
        return E_FAIL;
    }
    const HRESULT result = made->QueryInterface(id, object);
    made->Release();
    return result;
}

/// Creates objects by calling `Make`, which returns an object with one reference, or null on failure.
template <IUnknown* (*Make)()>
class Factory final : public ComObject<IClassFactory> {
public:
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID id, void** object) override {
        return outer ? CLASS_E_NOAGGREGATION : TransferReference(Make(), id, object);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};

}  // namespace pixelforge::test
