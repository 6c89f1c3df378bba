// The DirectShow graph from the first video input device to a renderer that delivers snapshots.
#pragma once

#include <windows.h>

// Leaves out <strsafe.h>, which clashes with the C library.
#define NO_DSHOW_STRSAFE
#include <dshow.h>
#include <wrl/client.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "base/win_handles.h"

namespace pixelforge {

struct SnapshotDeleter {
    void operator()(BYTE* image) const noexcept { CoTaskMemFree(image); }
};

/// A packed DIB; `bytes` is the block's actual size.
struct Snapshot {
    std::unique_ptr<BYTE, SnapshotDeleter> image;
    std::size_t bytes;

    std::span<const std::byte> Block() const noexcept {
        return {reinterpret_cast<const std::byte*>(image.get()), image ? bytes : 0};
    }
};

/// One per process, used on the host's calling thread; the graph runs on its own threads.
class CVMR_Capture {
public:
    CVMR_Capture() noexcept = default;
    CVMR_Capture(const CVMR_Capture&) = delete;
    CVMR_Capture& operator=(const CVMR_Capture&) = delete;
    virtual ~CVMR_Capture();

    /// Builds and runs the graph. `S_FALSE`: there is no camera, or the graph is still starting.
    HRESULT StartGraph();

    /// The renderer's latest picture; empty if there is none.
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
    std::int32_t videoWidth = 0;  ///< pixels, of the negotiated format
    std::int32_t videoHeight = 0;
    ComApartment apartment;
    DWORD apartmentThread = GetCurrentThreadId();
};

/// The filter of the first video input device; no other is considered. False if no such device is listed;
/// true with a null filter if the device is unavailable.
bool FindCaptureDevice(Microsoft::WRL::ComPtr<IBaseFilter>& filter);

}  // namespace pixelforge
