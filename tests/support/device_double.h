// What the device doubles share: settings, counters and base classes of their COM objects.
#pragma once

#include <windows.h>

#include <unknwn.h>

#include <atomic>
#include <string>
#include <string_view>
#include <utility>

/// Methods that the module never calls: UNUSED_METHODS((Name, Type...), ...), at most 13.
#define UNUSED_METHODS(...) EXPAND(EXPAND(EXPAND(UNUSED_FIRST(__VA_ARGS__))))
#define EXPAND(...) EXPAND_ONCE(EXPAND_ONCE(EXPAND_ONCE(__VA_ARGS__)))
#define EXPAND_ONCE(...) __VA_ARGS__
#define UNUSED_FIRST(first, ...) UNUSED_METHOD first __VA_OPT__(UNUSED_NEXT EMPTY()()(__VA_ARGS__))
#define UNUSED_NEXT() UNUSED_FIRST
#define EMPTY()
#define UNUSED_METHOD(name, ...)              \
    STDMETHODIMP name(__VA_ARGS__) override { \
        return E_NOTIMPL;                     \
    }

namespace pixelforge::test {

/// The environment variable with the settings, read in every call: "key=value;key=value".
extern const char* const kSettings;

/// The value of `key`, or `fallback` if there is none.
std::string Setting(std::string_view key, std::string_view fallback = {});
template <class Number>
Number NumberSetting(std::string_view key, Number fallback) {
    return static_cast<Number>(std::atof(Setting(key, std::to_string(fallback)).c_str()));
}

/// For methods that only set a value.
template <class Place, class Value>
HRESULT Set(Place& place, Value&& value) {
    place = std::forward<Value>(value);
    return S_OK;
}

/// Counts the call "misuse" if the module has not kept an interface's rule.
void Require(bool kept);

/// Counts the call and blocks if "hang" names it. True if it is to fail: each time if "fail" names it, every
/// second time if "flaky" does.
bool Fails(const std::string& call);

/// Task memory for the caller to free. Only blocks of more than a megabyte are counted: the system reserves
/// memory for each of them, and returns it.
void* NewTaskBlock(std::size_t bytes, std::size_t spare = 0x123456);

inline std::atomic<long> liveObjects{0};  ///< COM objects of this DLL, class factories included

/// An object with the given interfaces; the first is its identity. Starts with one reference.
template <class First, class... Others>
class ComObject : public First, public Others... {
public:
    ComObject() { ++liveObjects; }
    ComObject(const ComObject&) = delete;
    ComObject& operator=(const ComObject&) = delete;

    STDMETHODIMP QueryInterface(REFIID id, void** object) override {
        *object = id == __uuidof(IUnknown) || id == __uuidof(First) ? static_cast<First*>(this) : nullptr;
        ((id == __uuidof(Others) ? static_cast<void>(*object = static_cast<Others*>(this)) : void()), ...);
        OfferBase(id, object);
        return *object ? static_cast<void>(AddRef()), S_OK : E_NOINTERFACE;
    }

    STDMETHODIMP_(ULONG) AddRef() override { return ++references_; }

    STDMETHODIMP_(ULONG) Release() override {
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
    std::atomic<ULONG> references_{1};
};

/// Returns the object with one reference, or null on failure.
using MakeObject = IUnknown* (*)();

/// How the DLL creates objects of the class; null for other classes. Each double defines it.
MakeObject MakerOf(REFCLSID id);

/// Calls with that name so far, or of "any" name. "objects": live COM objects and blocks of task memory.
extern "C" long DoubleCount(const char* name);

/// Transfers the object's only reference to the caller as interface `id`. Fails if `made` is null.
HRESULT TransferReference(IUnknown* made, REFIID id, void** object);

}  // namespace pixelforge::test
