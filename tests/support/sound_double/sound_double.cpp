// A sound device that plays and fails as PIXELFORGE_SOUND specifies; see docs/doubles.md.
#include <windows.h>

#include <audioclient.h>
#include <mmdeviceapi.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/com_object.h"
#include "tests/support/double_settings.h"
#include "tests/support/sound_double/signal.h"

namespace pixelforge::test {
namespace {

constexpr HRESULT kNoDevice = static_cast<HRESULT>(0x80070490);
constexpr HRESULT kDeviceGone = static_cast<HRESULT>(0x88890004);

std::atomic<long> calls{0};  ///< of all methods that a stream uses

DoubleSettings Settings() {
    return DoubleSettings("PIXELFORGE_SOUND");
}

/// The result of the call with that name, subject to the settings "hang", "fail" and "gone".
HRESULT Outcome(const char* call) {
    ++calls;
    const DoubleSettings settings = Settings();
    if (settings.Is("hang", call)) {
        Sleep(INFINITE);
    }
    if (settings.Is("fail", call)) {
        return E_FAIL;
    }
    if (settings.Is("gone", "1")) {
        return std::string_view(call) == "endpoint" ? kNoDevice : kDeviceGone;
    }
    return S_OK;
}

/// Like parts of the real sound system, waits for a thread to end, which is impossible for the thread while
/// another one holds the loader lock.
void JoinThread() {
    const HANDLE thread = CreateThread(
        nullptr, 0, [](void*) -> DWORD { return 0; }, nullptr, 0, nullptr);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
}

struct Format {
    WORD bits = static_cast<WORD>(Settings().Number("bits", 32));
    WORD channels = static_cast<WORD>(Settings().Number("channels", 2));
    DWORD rate = static_cast<DWORD>(Settings().Number("rate", 48000));
    WORD frameBytes = static_cast<WORD>(Settings().Number("block", bits / 8 * channels));
};

/// For calls that return a new object; the setting "null" makes them succeed without one.
template <class Object>
HRESULT CreateObject(const char* call, REFIID id, void** object) {
    *object = nullptr;
    const HRESULT result = Outcome(call);
    return FAILED(result) || Settings().Is("null", call) ? result : TransferReference(new Object, id, object);
}

/// Delivers packets of 10 ms in real time.
class CaptureClient final : public ComObject<IAudioCaptureClient> {
public:
    HRESULT STDMETHODCALLTYPE GetNextPacketSize(UINT32* frames) override {
        const HRESULT result = Outcome("nextpacket");
        *frames = SUCCEEDED(result) && HasPacket() ? packetFrames_ : 0;
        return result;
    }

    HRESULT STDMETHODCALLTYPE GetBuffer(BYTE** data, UINT32* frames, DWORD* flags, UINT64*,
                                        UINT64*) override {
        *data = nullptr;
        *frames = 0;
        *flags = 0;
        const HRESULT result = Outcome("getbuffer");
        if (FAILED(result)) {
            return result;
        }
        if (Settings().Is("packets", "empty")) {
            return AUDCLNT_S_BUFFER_EMPTY;
        }
        *data = Settings().Is("null", "getbuffer")
                    ? nullptr
                    : &loop_[delivered_ % kLoopPackets * packetFrames_ * format_.frameBytes];
        *frames = packetFrames_;
        return S_OK;
    }

    HRESULT STDMETHODCALLTYPE ReleaseBuffer(UINT32) override {
        ++delivered_;
        return Outcome("releasebuffer");
    }

private:
    using Clock = std::chrono::steady_clock;

    static constexpr double kPacketSeconds = 0.01;
    static constexpr std::size_t kLoopPackets = 200;

    bool HasPacket() const {
        const DoubleSettings settings = Settings();
        if (settings.Is("packets", "endless") || settings.Is("packets", "empty")) {
            return true;
        }
        const std::chrono::duration<double> passed = Clock::now() - start_;
        return !settings.Is("packets", "never") && packetFrames_ > 0 &&
               static_cast<double>(delivered_) * kPacketSeconds < passed.count();
    }

    /// Two seconds of sound, the period of all signals.
    std::vector<BYTE> MakeLoop() const {
        const std::string signal = Settings().Text("signal", "music");
        const double hertz = Settings().Number("hertz", 1000);
        const std::size_t sampleBytes = format_.bits / 8;
        std::vector<BYTE> loop(kLoopPackets * packetFrames_ * format_.frameBytes + 64);
        for (std::size_t frame = 0; frame < kLoopPackets * packetFrames_; ++frame) {
            const double sample = SignalSample(signal, hertz, frame, format_.rate);
            for (std::size_t channel = 0; channel < format_.channels; ++channel) {
                const std::size_t place = frame * format_.frameBytes + channel * sampleBytes;
                if (place + sampleBytes <= loop.size()) {
                    WriteSample(sample, format_.bits, &loop[place]);
                }
            }
        }
        return loop;
    }

    const Format format_;
    const UINT32 packetFrames_ = static_cast<UINT32>(format_.rate * kPacketSeconds);
    std::vector<BYTE> loop_ = MakeLoop();
    const Clock::time_point start_ = Clock::now();
    std::uint64_t delivered_ = 0;
};

class AudioClient final : public ComObject<IAudioClient> {
public:
    ~AudioClient() override { JoinThread(); }

    HRESULT STDMETHODCALLTYPE GetMixFormat(WAVEFORMATEX** format) override {
        *format = nullptr;
        const HRESULT result = Outcome("mixformat");
        if (FAILED(result) || Settings().Is("null", "mixformat")) {
            return result;
        }
        const Format wanted;
        auto* made = static_cast<WAVEFORMATEX*>(CoTaskMemAlloc(sizeof(WAVEFORMATEX)));
        *made = {};
        made->wFormatTag = wanted.bits == 32 ? WAVE_FORMAT_IEEE_FLOAT : WAVE_FORMAT_PCM;
        made->nChannels = wanted.channels;
        made->nSamplesPerSec = wanted.rate;
        made->nAvgBytesPerSec = wanted.rate * wanted.frameBytes;
        made->nBlockAlign = wanted.frameBytes;
        made->wBitsPerSample = wanted.bits;
        *format = made;
        return S_OK;
    }

    /// Accepts only the arguments of a loopback stream.
    HRESULT STDMETHODCALLTYPE Initialize(AUDCLNT_SHAREMODE mode, DWORD flags, REFERENCE_TIME duration,
                                         REFERENCE_TIME period, const WAVEFORMATEX* format,
                                         LPCGUID session) override {
        const bool valid = mode == AUDCLNT_SHAREMODE_SHARED && flags == AUDCLNT_STREAMFLAGS_LOOPBACK &&
                           duration == 0 && period == 0 && format && !session;
        return valid ? Outcome("initialize") : E_INVALIDARG;
    }

    HRESULT STDMETHODCALLTYPE GetService(REFIID id, void** service) override {
        return CreateObject<CaptureClient>("service", id, service);
    }
    HRESULT STDMETHODCALLTYPE Start() override { return Outcome("start"); }
    HRESULT STDMETHODCALLTYPE Stop() override { return Outcome("stop"); }

    HRESULT STDMETHODCALLTYPE GetBufferSize(UINT32*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetStreamLatency(REFERENCE_TIME*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetCurrentPadding(UINT32*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE IsFormatSupported(AUDCLNT_SHAREMODE, const WAVEFORMATEX*,
                                                WAVEFORMATEX**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetDevicePeriod(REFERENCE_TIME*, REFERENCE_TIME*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE Reset() override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE SetEventHandle(HANDLE) override { return E_NOTIMPL; }
};

class Device final : public ComObject<IMMDevice> {
public:
    HRESULT STDMETHODCALLTYPE Activate(REFIID id, DWORD, PROPVARIANT*, void** object) override {
        return CreateObject<AudioClient>("activate", id, object);
    }
    HRESULT STDMETHODCALLTYPE OpenPropertyStore(DWORD, IPropertyStore**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetId(LPWSTR* id) override {
        const HRESULT result = Outcome("id");
        *id = nullptr;
        if (SUCCEEDED(result) && !Settings().Is("null", "id")) {
            *id = static_cast<LPWSTR>(CoTaskMemAlloc((name_.size() + 1) * sizeof(wchar_t)));
            std::ranges::copy_n(name_.c_str(), static_cast<std::ptrdiff_t>(name_.size() + 1), *id);
        }
        return result;
    }
    HRESULT STDMETHODCALLTYPE GetState(DWORD*) override { return E_NOTIMPL; }

private:
    const std::string name_ = Settings().Text("device", "speakers");
};

class DeviceEnumerator final : public ComObject<IMMDeviceEnumerator> {
public:
    /// Only the default playback device exists; there is no microphone.
    HRESULT STDMETHODCALLTYPE GetDefaultAudioEndpoint(EDataFlow flow, ERole role,
                                                      IMMDevice** device) override {
        *device = nullptr;
        return flow == eRender && role == eConsole
                   ? CreateObject<Device>("endpoint", __uuidof(IMMDevice), reinterpret_cast<void**>(device))
                   : kNoDevice;
    }
    HRESULT STDMETHODCALLTYPE EnumAudioEndpoints(EDataFlow, DWORD, IMMDeviceCollection**) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetDevice(LPCWSTR, IMMDevice**) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE RegisterEndpointNotificationCallback(IMMNotificationClient*) override {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE UnregisterEndpointNotificationCallback(IMMNotificationClient*) override {
        return E_NOTIMPL;
    }
};

IUnknown* MakeEnumerator() {
    Sleep(static_cast<DWORD>(Settings().Number("slow", 0)));
    JoinThread();
    return SUCCEEDED(Outcome("create")) || Settings().Is("gone", "1") ? new DeviceEnumerator : nullptr;
}

}  // namespace
}  // namespace pixelforge::test

extern "C" HRESULT STDAPICALLTYPE DllGetClassObject(REFCLSID id, REFIID interfaceId, void** object) {
    using namespace pixelforge::test;
    *object = nullptr;
    return id == __uuidof(MMDeviceEnumerator)
               ? TransferReference(new Factory<MakeEnumerator>, interfaceId, object)
               : CLASS_E_CLASSNOTAVAILABLE;
}

extern "C" HRESULT STDAPICALLTYPE DllCanUnloadNow() {
    return S_FALSE;
}

/// Live COM objects; method calls so far.
extern "C" long SoundDoubleObjects() {
    return pixelforge::test::liveObjects;
}

extern "C" long SoundDoubleCalls() {
    return pixelforge::test::calls;
}
