// COM objects in few lines, for the classes that stand in for devices.
#pragma once

#include <windows.h>

#include <unknwn.h>

#include <atomic>
#include <utility>

namespace pixelforge::test {

/// Objects alive in this DLL, class factories included: what a test watches for leaks.
inline std::atomic<long> liveObjects{0};

/// An object with the given interfaces, the first of which is its identity. It is born with one reference.
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

    /// For interfaces that `First` extends.
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

/// Hands an object's one reference over as the interface `id`; no object is a failure.
inline HRESULT Give(IUnknown* made, REFIID id, void** object) {
    *object = nullptr;
    if (!made) {
        return E_FAIL;
    }
    const HRESULT result = made->QueryInterface(id, object);
    made->Release();
    return result;
}

/// Makes objects by calling `Make`, which answers an object with one reference or null for a failure.
template <IUnknown* (*Make)()>
class Factory final : public ComObject<IClassFactory> {
public:
    HRESULT STDMETHODCALLTYPE CreateInstance(IUnknown* outer, REFIID id, void** object) override {
        return outer ? CLASS_E_NOAGGREGATION : Give(Make(), id, object);
    }
    HRESULT STDMETHODCALLTYPE LockServer(BOOL) override { return S_OK; }
};

}  // namespace pixelforge::test
