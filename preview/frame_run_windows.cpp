// The frame loop and its progress line.
#include "preview/frame_run.h"

#include <windows.h>

#include <io.h>

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace pixelforge::preview {
namespace {

using Clock = std::chrono::steady_clock;

/// On a console; its next line overwrites this one.
void ShowProgress(int done, int total) {
    if (done % 10 == 0 && _isatty(_fileno(stderr))) {
        std::fprintf(stderr, "frame %d of %d\r", done, total);
    }
}

/// True for the first call, after a reset and after a failed load.
bool NextCallLoads(const std::vector<FrameRecord>& frames) {
    return frames.empty() || frames.back().result == FrameResult::ResetWanted ||
           (frames.back().loading && frames.back().result == FrameResult::Failed);
}

/// True if the events have changed the frame's size, so that the next call has to load.
bool PlayEvents(EventPlayer* events, int frame, HostSession& session) {
    if (!events) {
        return false;
    }
    events->Play(frame, session.Window());
    const SIZE size = session.Window().ClientSize();
    return session.Refit(size.cx, size.cy);
}

bool NeverSucceeds(const std::vector<FrameRecord>& frames) {
    return frames.size() == kMaxInitialFailures &&
           std::ranges::all_of(frames, [](auto& frame) { return frame.result == FrameResult::Failed; });
}

}  // namespace

std::vector<FrameRecord> RunFrames(HostSession& session, const FrameRunOptions& options) {
    std::vector<FrameRecord> frames;
    RealTime realTime(session);
    const auto stopped = [&] { return options.stop && options.stop->load(); };
    for (int i = 0; i < options.frames && !stopped() && !NeverSucceeds(frames); ++i) {
        const bool loading = PlayEvents(options.events, i, session) || NextCallLoads(frames);
        if (options.realTime) {
            realTime.Advance();
        }
        const auto start = Clock::now();
        const FrameResult result = session.DrawFrame();
        const std::chrono::duration<double, std::milli> time = Clock::now() - start;
        frames.push_back({.result = result,
                          .milliseconds = time.count(),
                          .loading = loading,
                          .crc32 = options.checksums ? Crc32(session.Pixels().bytes) : 0});
        if (loading) {
            realTime.Restart();
        }
        if (result == FrameResult::Drawn && options.frameDrawn) {
            options.frameDrawn(i + 1);
        }
        ShowProgress(i + 1, options.frames);
    }
    return frames;
}

}  // namespace pixelforge::preview
