// One camera for the process, its lock and its pace.
#include "inputs/webcam_capture.h"

#include <mutex>
#include <utility>

#include "base/bitmap.h"
#include "base/win_handles.h"
#include "inputs/webcam_graph.h"

namespace pixelforge {
namespace {

/// A snapshot is a full copy of a video frame.
constexpr std::uint32_t kFramesPerSnapshot = 16;

// No owners with destructors: those would run in process detach.
CVMR_Capture* webcam = nullptr;
HBITMAP webcamFrame = nullptr;
std::uint32_t webcamUsers = 0;  ///< loads that met a camera or started one; never counted down
std::uint32_t webcamTick = 0;
std::uint32_t webcamState = 0;

/// Guards the object and every snapshot.
CriticalSection& WebcamLock() {
    static CriticalSection webcamLock;
    return webcamLock;
}

/// An object whose graph failed to start stays and is not tried again.
void OpenCamera() {
    const std::lock_guard lock(WebcamLock());
    bool started = webcam != nullptr;
    if (!started) {
        webcam = new CVMR_Capture;
        started = SUCCEEDED(webcam->StartGraph());
    }
    webcamUsers += started ? 1 : 0;
}

Snapshot TakeSnapshot() {
    const std::lock_guard lock(WebcamLock());
    return webcam ? webcam->TakeSnapshot() : Snapshot{};
}

/// An image that does not hold what it claims changes nothing.
void StretchIntoFrame(const Snapshot& snapshot) {
    const std::optional<WebcamStretch> stretch = PlanWebcamStretch(snapshot.Block());
    const UniqueMemoryDc dc(stretch ? CreateCompatibleDC(nullptr) : nullptr);
    if (!dc) {
        return;
    }
    const GdiSelection selection(dc.Get(), webcamFrame);
    const int formerMode = SetStretchBltMode(dc.Get(), COLORONCOLOR);
    StretchDIBits(dc.Get(), 0, stretch->top, stretch->width, stretch->height, 0, 0, stretch->sourceWidth,
                  stretch->sourceHeight, snapshot.image.get() + kPackedHeaderBytes,
                  reinterpret_cast<const BITMAPINFO*>(snapshot.image.get()), DIB_RGB_COLORS, SRCCOPY);
    SetStretchBltMode(dc.Get(), formerMode);
    GdiFlush();  // the pixels are read without GDI
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
        ++webcamState;
    }
    webcamTick = (webcamTick + 1) % kFramesPerSnapshot;
    return webcamState;
}

const std::uint8_t* WebcamPixels() noexcept {
    DIBSECTION section = {};
    if (!webcamFrame || GetObjectW(webcamFrame, sizeof(section), &section) != sizeof(section)) {
        return nullptr;
    }
    return static_cast<const std::uint8_t*>(section.dsBm.bmBits);
}

void UnloadWebcam() {
    const std::lock_guard lock(WebcamLock());
    delete webcam;
    webcam = nullptr;
    webcamTick = 0;
    UniqueBitmap(std::exchange(webcamFrame, nullptr)).Reset();
}

}  // namespace pixelforge
