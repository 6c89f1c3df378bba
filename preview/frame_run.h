// Draws a run's frames and decides when there is no point in going on.
#pragma once

#include <atomic>
#include <functional>
#include <vector>

#include "preview/frame_statistics.h"
#include "preview/host/event_player.h"
#include "preview/host/host_session.h"

namespace pixelforge::preview {

/// A module that fails this often before it has drawn anything is not asked again: it would load the
/// same shader with the same outcome.
inline constexpr int kHopelessFailures = 3;

struct FrameRunOptions {
    int frames = 60;
    bool checksums = false;
    const std::atomic<bool>* stop = nullptr;  ///< set by another thread to end the run early
    EventPlayer* events = nullptr;

    /// Called behind each frame that was drawn with the number of frames so far; may be empty.
    std::function<void(int)> frameDrawn = {};
};

std::vector<FrameRecord> RunFrames(HostSession& session, const FrameRunOptions& options);

}  // namespace pixelforge::preview
