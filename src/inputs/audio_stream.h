// Loopback capture of the default output device.
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

#include "inputs/spectrum.h"

namespace pixelforge {

struct TaskMemoryDeleter {
    void operator()(void* block) const noexcept { CoTaskMemFree(block); }
};

/// For use by one thread, inside a COM apartment.
class LoopbackStream {
public:
    /// Receives one packet; `frames` is valid only during the call.
    using PacketSink = std::function<void(const std::byte* frames, std::uint32_t count)>;

    LoopbackStream() = default;
    LoopbackStream(const LoopbackStream&) = delete;
    LoopbackStream& operator=(const LoopbackStream&) = delete;
    ~LoopbackStream();  ///< stops the stream

    /// Finds the device and starts the stream. Aborts between steps once `stop` is set.
    HRESULT Open(const std::atomic<std::int32_t>& stop);

    SampleFormat Format() const noexcept;

    /// Passes pending packets to `sink`, a bounded number per call. Stops at the first failure and returns
    /// it.
    HRESULT ReadPackets(const PacketSink& sink);

    /// For the unload, whose caller holds the loader lock: stops the stream and leaves the releases that may
    /// wait for the end of another thread, which needs that lock, to the system's thread pool.
    void ReleaseDuringUnload() noexcept;

    /// True if another device has become the default; false if unknown.
    bool DefaultDeviceChanged() const noexcept;

private:
    HRESULT CreateEnumerator();
    HRESULT FindDevice();
    HRESULT ActivateClient();
    HRESULT ReadMixFormat();
    HRESULT InitializeClient();
    HRESULT GetCaptureService();
    HRESULT Start();
    void Stop() noexcept;
    HRESULT ReadPacket(const PacketSink& sink);

    // Released in reverse order.
    Microsoft::WRL::ComPtr<IMMDeviceEnumerator> enumerator_;
    Microsoft::WRL::ComPtr<IMMDevice> device_;
    Microsoft::WRL::ComPtr<IAudioClient> client_;
    Microsoft::WRL::ComPtr<IAudioCaptureClient> capture_;
    std::unique_ptr<WAVEFORMATEX, TaskMemoryDeleter> mixFormat_;
    bool started_ = false;
};

}  // namespace pixelforge
