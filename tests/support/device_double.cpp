// Settings, counters and exports of a device double.
#include "tests/support/device_double.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <set>

namespace pixelforge::test {
namespace {

const HANDLE resumed = CreateEventW(nullptr, FALSE, FALSE, nullptr);
std::mutex countLock;  ///< guards both
std::map<std::string, long> calls;
std::set<void*> blocks;

class Factory final : public ComObject<IClassFactory> {
public:
    explicit Factory(MakeObject make) : make_(make) {}

    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID id, void** object) override {
        return outer ? CLASS_E_NOAGGREGATION : TransferReference(make_(), id, object);
    }
    UNUSED_METHODS((LockServer, BOOL))

private:
    const MakeObject make_;
};

}  // namespace

std::string Setting(std::string_view key, std::string_view fallback) {
    char text[512] = {};
    GetEnvironmentVariableA(kSettings, text, sizeof(text));
    const std::string start = ";" + std::string(key) + "=";
    const std::string parts = ";" + std::string(text) + start + std::string(fallback) + ";";
    const std::size_t value = parts.find(start) + start.size();
    return parts.substr(value, parts.find(';', value) - value);
}

void Require(bool kept) {
    const std::lock_guard lock(countLock);
    calls["misuse"] += !kept;
}

bool Fails(const std::string& call) {
    std::unique_lock lock(countLock);
    const long count = ++calls[call];
    ++calls["any"];
    lock.unlock();
    if (Setting("hang") == call) {
        WaitForSingleObject(resumed, INFINITE);
    }
    return Setting("fail") == call || (Setting("flaky") == call && count % 2 == 0);
}

void* NewTaskBlock(std::size_t bytes, std::size_t spare) {
    void* const block = CoTaskMemAlloc(bytes + spare);
    const std::lock_guard lock(countLock);
    if (bytes + spare >= 1U << 20) {
        blocks.insert(block);
    }
    return block;
}

HRESULT TransferReference(IUnknown* made, REFIID id, void** object) {
    *object = nullptr;
    if (!made) {
        return E_FAIL;
    }
    const HRESULT result = made->QueryInterface(id, object);
    made->Release();
    return result;
}

}  // namespace pixelforge::test

extern "C" HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID id, REFIID interfaceId, void** object) {
    using namespace pixelforge::test;
    *object = nullptr;
    const MakeObject make = MakerOf(id);
    return make ? TransferReference(new Factory(make), interfaceId, object) : CLASS_E_CLASSNOTAVAILABLE;
}

extern "C" long pixelforge::test::DoubleCount(const char* name) {
    const std::lock_guard lock(countLock);
    if (std::string_view(name) != "objects") {
        return calls[name];
    }
    const auto isLive = [](void* block) { return HeapValidate(GetProcessHeap(), 0, block); };
    return liveObjects + static_cast<long>(std::ranges::count_if(blocks, isLive));
}

/// Lets the call continue that the setting "hang" stopped.
extern "C" void DoubleResume() {
    SetEvent(pixelforge::test::resumed);
}
