// A sound device that plays and fails as PIXELFORGE_SOUND specifies; see docs/doubles.md.
#include <audioclient.h>
#include <mmdeviceapi.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numbers>
#include <thread>
#include <utility>
#include <vector>

#include "tests/support/device_double.h"

namespace pixelforge::test {

const char* const kSettings = "PIXELFORGE_SOUND";

namespace {

constexpr HRESULT kNoDevice = static_cast<HRESULT>(0x80070490);

double Sine(double hertz, double seconds) {
    return std::sin(2 * std::numbers::pi * std::fmod(hertz * seconds, 1.0));
}

/// For manual use: four notes per second over a bass.
double Music(double seconds) {
    constexpr int kSteps[] = {0, 7, 12, 3, 15, 10, 19, 7};
    const double hertz = 220 * std::pow(2.0, kSteps[static_cast<std::size_t>(seconds * 4) % 8] / 12.0);
    return 0.7 * Sine(hertz, seconds) * std::exp(-8 * std::fmod(seconds, 0.25)) + 0.3 * Sine(55, seconds);
}

/// The result of a call, subject to the settings "hang", "fail" and "gone".
HRESULT Outcome(const std::string& call) {
    if (Fails(call)) {
        return E_FAIL;
    }
    if (Setting("gone") == "1" && call != "create") {
        return call == "endpoint" ? kNoDevice : AUDCLNT_E_DEVICE_INVALIDATED;
    }
    return S_OK;
}

/// As parts of the real sound system do, waits for a thread, which cannot end without the loader lock.
void JoinThread() {
    std::thread([] {}).join();
}

struct Format {
    WORD bits = NumberSetting<WORD>("bits", 32);
    WORD channels = NumberSetting<WORD>("channels", 2);
    DWORD rate = NumberSetting<DWORD>("rate", 48000);
    WORD frameBytes = NumberSetting<WORD>("block", bits / 8 * channels);
};

/// For calls that return memory or an object; the setting "null" makes them succeed without one.
template <class Result>
bool Supplies(const char* call, HRESULT& result, Result** object) {
    *object = nullptr;
    result = Outcome(call);
    return SUCCEEDED(result) && Setting("null") != call;
}

template <class Object>
HRESULT CreateObject(const char* call, REFIID id, void** object) {
    HRESULT result = S_OK;
    return Supplies(call, result, object) ? TransferReference(new Object, id, object) : result;
}

/// Delivers packets of 10 ms in real time.
class CaptureClient final : public ComObject<IAudioCaptureClient> {
public:
    STDMETHODIMP GetNextPacketSize(UINT32* frames) override {
        const HRESULT result = Outcome("nextpacket");
        *frames = SUCCEEDED(result) && HasPacket() ? packetFrames_ : 0;
        return result;
    }

    STDMETHODIMP GetBuffer(BYTE** data, UINT32* frames, DWORD* flags, UINT64*, UINT64*) override {
        *data = nullptr;
        *frames = 0;
        *flags = 0;
        const HRESULT result = Outcome("getbuffer");
        if (FAILED(result) || Setting("packets") == "empty") {
            return FAILED(result) ? result : AUDCLNT_S_BUFFER_EMPTY;
        }
        Require(!std::exchange(held_, true));
        if (Setting("null") != "getbuffer") {
            *data = &loop_[delivered_ % kLoopPackets * packetFrames_ * format_.frameBytes];
        }
        *frames = packetFrames_;
        return S_OK;
    }

    STDMETHODIMP ReleaseBuffer(UINT32 frames) override {
        Require(std::exchange(held_, false) && frames == packetFrames_);
        ++delivered_;
        return Outcome("releasebuffer");
    }

private:
    static constexpr std::size_t kLoopPackets = 200;

    bool HasPacket() const {
        const std::string packets = Setting("packets");
        return packets == "endless" || packets == "empty" ||
               (packets != "never" && packetFrames_ > 0 && delivered_ * 10 < GetTickCount64() - startTick_);
    }

    /// Two seconds of sound, the period of all signals: integers of 16 bits, or the first bytes of floats.
    std::vector<BYTE> MakeLoop() const {
        const bool sine = Setting("signal") == "sine";
        const double hertz = NumberSetting<double>("hertz", 1000);
        std::vector<BYTE> loop(kLoopPackets * packetFrames_ * format_.frameBytes + 64);
        for (std::size_t frame = 0; frame < kLoopPackets * packetFrames_; ++frame) {
            const double seconds = static_cast<double>(frame) / format_.rate;
            const auto real = static_cast<float>(0.5 * (sine ? Sine(hertz, seconds) : Music(seconds)));
            const auto integer = static_cast<std::int16_t>(real * 32767);
            for (std::size_t c = 0; c < format_.channels; ++c) {
                std::memcpy(&loop[frame * format_.frameBytes + c * (format_.bits / 8)],
                            format_.bits == 16 ? static_cast<const void*>(&integer) : &real,
                            format_.bits / 8);
            }
        }
        return loop;
    }

    const Format format_;
    const UINT32 packetFrames_ = format_.rate / 100;
    std::vector<BYTE> loop_ = MakeLoop();
    const ULONGLONG startTick_ = GetTickCount64();
    std::uint64_t delivered_ = 0;
    bool held_ = false;  ///< the caller has not released its packet
};

class AudioClient final : public ComObject<IAudioClient> {
public:
    ~AudioClient() override {
        JoinThread();
        Require(!running_);
    }

    STDMETHODIMP GetMixFormat(WAVEFORMATEX** format) override {
        HRESULT result = S_OK;
        if (Supplies("mixformat", result, format)) {
            const Format f;
            const auto tag = static_cast<WORD>(f.bits == 32 ? WAVE_FORMAT_IEEE_FLOAT : WAVE_FORMAT_PCM);
            *format = static_cast<WAVEFORMATEX*>(NewTaskBlock(sizeof(WAVEFORMATEX)));
            **format = {tag, f.channels, f.rate, f.rate * f.frameBytes, f.frameBytes, f.bits, 0};
        }
        return result;
    }

    /// Accepts only the arguments of a loopback stream.
    STDMETHODIMP Initialize(AUDCLNT_SHAREMODE mode, DWORD flags, REFERENCE_TIME duration,
                            REFERENCE_TIME period, const WAVEFORMATEX* format, LPCGUID session) override {
        const bool valid = mode == AUDCLNT_SHAREMODE_SHARED && flags == AUDCLNT_STREAMFLAGS_LOOPBACK &&
                           duration == 0 && period == 0 && format && !session;
        return valid ? Outcome("initialize") : E_INVALIDARG;
    }

    STDMETHODIMP GetService(REFIID id, void** service) override {
        return CreateObject<CaptureClient>("service", id, service);
    }
    STDMETHODIMP Start() override {
        const HRESULT result = Outcome("start");
        running_ = SUCCEEDED(result);
        return result;
    }
    STDMETHODIMP Stop() override {
        running_ = false;
        return Outcome("stop");
    }

    UNUSED_METHODS((GetBufferSize, UINT32*), (GetCurrentPadding, UINT32*), (Reset), (SetEventHandle, HANDLE),
                   (GetStreamLatency, REFERENCE_TIME*), (GetDevicePeriod, REFERENCE_TIME*, REFERENCE_TIME*),
                   (IsFormatSupported, AUDCLNT_SHAREMODE, const WAVEFORMATEX*, WAVEFORMATEX**))

private:
    bool running_ = false;
};

class Device final : public ComObject<IMMDevice> {
public:
    STDMETHODIMP Activate(REFIID id, DWORD, PROPVARIANT*, void** object) override {
        return CreateObject<AudioClient>("activate", id, object);
    }
    STDMETHODIMP GetId(LPWSTR* id) override {
        HRESULT result = S_OK;
        if (Supplies("id", result, id)) {
            *id = static_cast<LPWSTR>(NewTaskBlock((name_.size() + 1) * sizeof(wchar_t)));
            std::ranges::copy_n(name_.c_str(), static_cast<std::ptrdiff_t>(name_.size() + 1), *id);
        }
        return result;
    }
    UNUSED_METHODS((OpenPropertyStore, DWORD, IPropertyStore**), (GetState, DWORD*))

private:
    const std::string name_ = Setting("device", "speakers");
};

class DeviceEnumerator final : public ComObject<IMMDeviceEnumerator> {
public:
    /// Only the default playback device exists; there is no microphone.
    STDMETHODIMP GetDefaultAudioEndpoint(EDataFlow flow, ERole role, IMMDevice** device) override {
        *device = nullptr;
        return flow == eRender && role == eConsole
                   ? CreateObject<Device>("endpoint", __uuidof(IMMDevice), reinterpret_cast<void**>(device))
                   : kNoDevice;
    }
    UNUSED_METHODS((EnumAudioEndpoints, EDataFlow, DWORD, IMMDeviceCollection**),
                   (GetDevice, LPCWSTR, IMMDevice**),
                   (RegisterEndpointNotificationCallback, IMMNotificationClient*),
                   (UnregisterEndpointNotificationCallback, IMMNotificationClient*))
};

IUnknown* MakeEnumerator() {
    Sleep(NumberSetting<DWORD>("slow", 0));
    JoinThread();
    return SUCCEEDED(Outcome("create")) ? new DeviceEnumerator : nullptr;
}

}  // namespace

MakeObject MakerOf(REFCLSID id) {
    return id == __uuidof(MMDeviceEnumerator) ? MakeEnumerator : nullptr;
}

}  // namespace pixelforge::test
