// What the default output device plays, captured in loopback.
#pragma once

#include <windows.h>

#include <audioclient.h>
#include <mmdeviceapi.h>
#include <wrl/client.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

#include "inputs/sample_format.h"

namespace pixelforge {

struct TaskMemoryDeleter {
    void operator()(void* block) const noexcept { CoTaskMemFree(block); }
};

/// Used by one thread that has entered a COM apartment.
class LoopbackStream {
public:
    /// Receives a packet; the pointer is valid during the call only.
    using PacketSink = std::function<void(const std::byte* frames, std::uint32_t count)>;

    LoopbackStream() = default;
    LoopbackStream(const LoopbackStream&) = delete;
    LoopbackStream& operator=(const LoopbackStream&) = delete;
    ~LoopbackStream();  ///< stops what was started

    /// Finds the device and starts the stream. Gives up before the next step once `stop` is set.
    HRESULT Open(const std::atomic<std::int32_t>& stop);

    SampleFormat Format() const noexcept;

    /// Hands the waiting packets to `sink`. After a failed call nothing more is waiting; its result is
    /// returned.
    HRESULT ReadWaiting(const PacketSink& sink);

    /// Another device has become the default one. False whenever that cannot be told.
    bool DefaultHasMoved() const noexcept;

private:
    HRESULT CreateEnumerator();
    HRESULT FindDevice();
    HRESULT ActivateClient();
    HRESULT ReadMixFormat();
    HRESULT InitializeClient();
    HRESULT GetCaptureService();
    HRESULT Start();
    HRESULT ReadPacket(const PacketSink& sink);

    // Released from the last to the first.
    Microsoft::WRL::ComPtr<IMMDeviceEnumerator> enumerator_;
    Microsoft::WRL::ComPtr<IMMDevice> device_;
    Microsoft::WRL::ComPtr<IAudioClient> client_;
    Microsoft::WRL::ComPtr<IAudioCaptureClient> capture_;
    std::unique_ptr<WAVEFORMATEX, TaskMemoryDeleter> mixFormat_;
    bool started_ = false;
};

}  // namespace pixelforge
