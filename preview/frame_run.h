// Draws and times a run's frames.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "preview/host/host_session.h"
#include "preview/host/input_events.h"
#include "preview/report.h"

namespace pixelforge::preview {

struct FrameRunOptions {
    int frames = 60;
    bool checksums = false;
    bool realTime = false;
    const std::atomic<bool>* stop = nullptr;  ///< set by another thread to end the run early
    EventPlayer* events = nullptr;

    /// Called after each drawn frame with the number of frames so far. May be empty.
    std::function<void(int)> frameDrawn = {};
};

/// Counts the frames on stderr if that is a console.
std::vector<FrameRecord> RunFrames(HostSession& session, const FrameRunOptions& options);

}  // namespace pixelforge::preview
