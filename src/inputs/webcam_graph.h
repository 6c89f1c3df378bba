// The graph that leads the first video input device to a renderer whose newest picture can be asked for.
#pragma once

#include <windows.h>

// The text functions that this header would drag in clash with the C library's.
#define NO_DSHOW_STRSAFE
#include <dshow.h>
#include <wrl/client.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace pixelforge {

struct SnapshotDeleter {
    void operator()(BYTE* image) const noexcept { CoTaskMemFree(image); }
};

/// A bitmap header and its pixels in one block; `bytes` is the block's real size.
struct Snapshot {
    std::unique_ptr<BYTE, SnapshotDeleter> image;
    std::size_t bytes;

    std::span<const std::byte> Block() const noexcept {
        return {reinterpret_cast<const std::byte*>(image.get()), image ? bytes : 0};
    }
};

/// One a process. Made and used on the host's calling thread; the graph runs on threads of its own.
class CVMR_Capture {
public:
    CVMR_Capture() noexcept;
    CVMR_Capture(const CVMR_Capture&) = delete;
    CVMR_Capture& operator=(const CVMR_Capture&) = delete;
    virtual ~CVMR_Capture();

    /// Builds and runs the graph. `S_FALSE` also means that there is no camera.
    HRESULT StartGraph();

    /// The renderer's newest picture, empty when it has none.
    Snapshot TakeSnapshot() const;

private:
    void AddRenderer();
    HRESULT AddCaptureFilter();
    HRESULT NegotiateFormat();
    HRESULT ReadVideoSize(IAMStreamConfig& config);
    HRESULT SetVideoPosition();
    HRESULT RunGraph();

    Microsoft::WRL::ComPtr<IGraphBuilder> graph;
    Microsoft::WRL::ComPtr<IMediaControl> control;
    Microsoft::WRL::ComPtr<IMediaEventEx> events;
    Microsoft::WRL::ComPtr<IVMRWindowlessControl> vmrControl;
    Microsoft::WRL::ComPtr<IPin> capturePin;
    Microsoft::WRL::ComPtr<IBaseFilter> captureFilter;
    std::int32_t state = State_Stopped;
    std::int32_t videoWidth = 0;  ///< pixels, of the format that the pin ends up with
    std::int32_t videoHeight = 0;
    DWORD apartmentThread = 0;  ///< that entered COM for this object, 0 for none
};

/// The filter of the first video input device; only that one is ever considered. False when there is no list
/// of such devices; true with a null filter when the device cannot be had.
bool FindCaptureDevice(Microsoft::WRL::ComPtr<IBaseFilter>& filter);

}  // namespace pixelforge
