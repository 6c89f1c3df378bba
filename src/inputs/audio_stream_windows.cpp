// Opening a loopback stream step by step, and reading its packets.
#include "inputs/audio_stream.h"

#include <cwchar>
#include <utility>

namespace pixelforge {
namespace {

/// Keeps a device with an endless supply of packets from starving the loop. Engines deliver a packet every
/// 10 ms and are polled every 18 ms, so even a backlog of one second clears within a few passes.
constexpr int kMaxPacketsPerPass = 64;

/// Null if unavailable.
std::unique_ptr<wchar_t, TaskMemoryDeleter> IdOf(IMMDevice* device) noexcept {
    LPWSTR id = nullptr;
    if (device && FAILED(device->GetId(&id))) {
        id = nullptr;
    }
    return std::unique_ptr<wchar_t, TaskMemoryDeleter>(id);
}

/// Treats success without an object as a failure.
HRESULT RequireObject(HRESULT result, const void* object) noexcept {
    return SUCCEEDED(result) && !object ? E_POINTER : result;
}

/// Runs the object's own `Release`, which lies outside this library, on a thread of the system's pool: on
/// x64, the third entry of its table has the signature of a work item. An object that cannot be queued leaks.
void ReleaseOnPoolThread(IUnknown* object) noexcept {
    if (object) {
        QueueUserWorkItem((*reinterpret_cast<LPTHREAD_START_ROUTINE**>(object))[2], object,
                          WT_EXECUTEDEFAULT);
    }
}

}  // namespace

LoopbackStream::~LoopbackStream() {
    Stop();
}

void LoopbackStream::Stop() noexcept {
    if (std::exchange(started_, false)) {
        client_->Stop();
    }
}

void LoopbackStream::ReleaseDuringUnload() noexcept {
    Stop();
    capture_.Reset();
    ReleaseOnPoolThread(client_.Detach());
    ReleaseOnPoolThread(device_.Detach());
    ReleaseOnPoolThread(enumerator_.Detach());
}

HRESULT LoopbackStream::Open(const std::atomic<std::int32_t>& stop) {
    using Step = HRESULT (LoopbackStream::*)();
    constexpr Step kSteps[] = {
        &LoopbackStream::CreateEnumerator,
        &LoopbackStream::FindDevice,
        &LoopbackStream::ActivateClient,
        &LoopbackStream::ReadMixFormat,
        &LoopbackStream::InitializeClient,
        &LoopbackStream::GetCaptureService,
        &LoopbackStream::Start,
    };
    for (const Step step : kSteps) {
        if (stop) {
            return E_ABORT;
        }
        if (const HRESULT result = (this->*step)(); FAILED(result)) {
            return result;
        }
    }
    return S_OK;
}

HRESULT LoopbackStream::CreateEnumerator() {
    const HRESULT result = CoCreateInstance(__uuidof(MMDeviceEnumerator), nullptr, CLSCTX_ALL,
                                            IID_PPV_ARGS(enumerator_.ReleaseAndGetAddressOf()));
    return RequireObject(result, enumerator_.Get());
}

/// The playback device, not a microphone.
HRESULT LoopbackStream::FindDevice() {
    const HRESULT result =
        enumerator_->GetDefaultAudioEndpoint(eRender, eConsole, device_.ReleaseAndGetAddressOf());
    return RequireObject(result, device_.Get());
}

HRESULT LoopbackStream::ActivateClient() {
    const HRESULT result = device_->Activate(__uuidof(IAudioClient), CLSCTX_ALL, nullptr,
                                             reinterpret_cast<void**>(client_.ReleaseAndGetAddressOf()));
    return RequireObject(result, client_.Get());
}

HRESULT LoopbackStream::ReadMixFormat() {
    WAVEFORMATEX* format = nullptr;
    const HRESULT result = client_->GetMixFormat(&format);
    mixFormat_.reset(format);
    return RequireObject(result, format);
}

HRESULT LoopbackStream::InitializeClient() {
    return client_->Initialize(AUDCLNT_SHAREMODE_SHARED, AUDCLNT_STREAMFLAGS_LOOPBACK, 0, 0, mixFormat_.get(),
                               nullptr);
}

HRESULT LoopbackStream::GetCaptureService() {
    const HRESULT result = client_->GetService(IID_PPV_ARGS(capture_.ReleaseAndGetAddressOf()));
    return RequireObject(result, capture_.Get());
}

HRESULT LoopbackStream::Start() {
    const HRESULT result = client_->Start();
    started_ = SUCCEEDED(result);
    return result;
}

SampleFormat LoopbackStream::Format() const noexcept {
    return {static_cast<double>(mixFormat_->nSamplesPerSec), mixFormat_->wBitsPerSample,
            mixFormat_->nChannels, mixFormat_->nBlockAlign};
}

HRESULT LoopbackStream::ReadPackets(const PacketSink& sink) {
    for (int packet = 0; packet < kMaxPacketsPerPass; ++packet) {
        UINT32 frames = 0;
        const HRESULT result = capture_->GetNextPacketSize(&frames);
        if (FAILED(result) || frames == 0) {
            return result;
        }
        if (const HRESULT read = ReadPacket(sink); read != S_OK) {
            return read;
        }
    }
    return S_OK;
}

bool LoopbackStream::DefaultDeviceChanged() const noexcept {
    Microsoft::WRL::ComPtr<IMMDevice> device;
    if (FAILED(enumerator_->GetDefaultAudioEndpoint(eRender, eConsole, device.GetAddressOf()))) {
        return false;
    }
    const auto id = IdOf(device.Get());
    const auto own = IdOf(device_.Get());
    return id && own && std::wcscmp(id.get(), own.get()) != 0;
}

/// Ignores the packet's flags: silent packets hold zeros anyway.
HRESULT LoopbackStream::ReadPacket(const PacketSink& sink) {
    BYTE* frames = nullptr;
    UINT32 count = 0;
    DWORD flags = 0;
    const HRESULT result = capture_->GetBuffer(&frames, &count, &flags, nullptr, nullptr);
    if (result != S_OK) {  // AUDCLNT_S_BUFFER_EMPTY is a success code, too
        return result;
    }
    if (frames && count > 0) {
        sink(reinterpret_cast<const std::byte*>(frames), count);
    }
    return capture_->ReleaseBuffer(count);
}

}  // namespace pixelforge
