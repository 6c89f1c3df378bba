// The shared camera: its lock, its picture and when the picture is updated.
#include "inputs/webcam_capture.h"

#include <mutex>
#include <utility>

#include "base/bitmap.h"
#include "base/win_handles.h"
#include "inputs/webcam_graph.h"

namespace pixelforge {
namespace {

/// Snapshots are expensive: each is a full copy of a video frame.
constexpr std::uint32_t kFramesPerSnapshot = 16;

// Raw on purpose: destructors would run in process detach.
CVMR_Capture* webcam = nullptr;
HBITMAP webcamFrame = nullptr;
std::uint32_t webcamUsers = 0;  ///< loads that found or started a camera; never decremented
std::uint32_t webcamTick = 0;
std::uint32_t webcamVersion = 0;
constinit SlimLock webcamLock;  ///< guards `webcam` and every snapshot

/// An object whose graph failed to start is kept and not retried.
void OpenCamera() {
    const std::lock_guard lock(webcamLock);
    bool started = webcam != nullptr;
    if (!started) {
        webcam = new CVMR_Capture;
        started = SUCCEEDED(webcam->StartGraph());
    }
    webcamUsers += started ? 1 : 0;
}

Snapshot TakeSnapshot() {
    const std::lock_guard lock(webcamLock);
    return webcam ? webcam->TakeSnapshot() : Snapshot{};
}

/// Ignores an invalid snapshot.
void StretchIntoFrame(const Snapshot& snapshot) {
    const std::optional<WebcamStretch> stretch = PlanWebcamStretch(snapshot.Block());
    const UniqueMemoryDc dc(stretch ? CreateCompatibleDC(nullptr) : nullptr);
    if (!dc) {
        return;
    }
    const GdiSelection selection(dc.Get(), webcamFrame);
    const int previousMode = SetStretchBltMode(dc.Get(), COLORONCOLOR);
    StretchDIBits(dc.Get(), 0, stretch->top, stretch->width, stretch->height, 0, 0, stretch->sourceWidth,
                  stretch->sourceHeight, snapshot.image.get() + kPackedHeaderBytes,
                  reinterpret_cast<const BITMAPINFO*>(snapshot.image.get()), DIB_RGB_COLORS, SRCCOPY);
    SetStretchBltMode(dc.Get(), previousMode);
    GdiFlush();  // the pixels are read directly
}

}  // namespace

bool LoadWebcam() {
    OpenCamera();
    if (!webcamFrame) {
        webcamFrame = CreateHostBitmap(kWebcamWidth, kWebcamHeight).Release();
    }
    return webcamFrame != nullptr;
}

std::uint32_t GrabWebcamFrame() {
    if (webcamFrame && webcamTick == 0) {
        StretchIntoFrame(TakeSnapshot());
        ++webcamVersion;
    }
    webcamTick = (webcamTick + 1) % kFramesPerSnapshot;
    return webcamVersion;
}

const std::uint8_t* WebcamPixels() noexcept {
    return PixelsOf(webcamFrame).bytes.data();
}

void UnloadWebcam() {
    const std::lock_guard lock(webcamLock);
    delete webcam;
    webcam = nullptr;
    webcamTick = 0;
    UniqueBitmap(std::exchange(webcamFrame, nullptr)).Reset();
}

}  // namespace pixelforge
