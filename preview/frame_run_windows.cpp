// Draws frame after frame and takes the time of each.
#include "preview/frame_run.h"

#include <chrono>

namespace pixelforge::preview {
namespace {

/// A load is wanted by the first call, by the call behind a reset, and again behind a load that failed.
bool LoadsShader(const std::vector<FrameRecord>& frames) {
    if (frames.empty() || frames.back().result == FrameResult::ResetWanted) {
        return true;
    }
    return frames.back().loading && frames.back().result == FrameResult::Failed;
}

FrameRecord DrawTimed(HostSession& session) {
    FrameRecord frame;
    const auto start = std::chrono::steady_clock::now();
    frame.result = session.DrawFrame();
    frame.milliseconds =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    return frame;
}

/// A host prepares the module anew when its window has another size. True when it did.
bool FollowWindowSize(HostSession& session) {
    const SIZE size = session.Window().ClientSize();
    const DrawContext& context = session.Context();
    if (size.cx == context.width && size.cy == context.height) {
        return false;
    }
    session.Restart(size.cx, size.cy);
    return true;
}

bool PlayEvents(EventPlayer* events, int frame, HostSession& session) {
    if (events == nullptr) {
        return false;
    }
    events->Play(frame, session.Window());
    return FollowWindowSize(session);
}

bool IsHopeless(const std::vector<FrameRecord>& frames) {
    if (frames.size() != kHopelessFailures) {
        return false;
    }
    for (const FrameRecord& frame : frames) {
        if (frame.result != FrameResult::Failed) {
            return false;
        }
    }
    return true;
}

}  // namespace

std::vector<FrameRecord> RunFrames(HostSession& session, const FrameRunOptions& options) {
    std::vector<FrameRecord> frames;
    const auto stopped = [&] { return options.stop != nullptr && options.stop->load(); };
    for (int i = 0; i < options.frames && !stopped() && !IsHopeless(frames); ++i) {
        const bool loading = PlayEvents(options.events, i, session) || LoadsShader(frames);
        FrameRecord frame = DrawTimed(session);
        frame.loading = loading;
        frame.crc32 = options.checksums ? Crc32(session.Pixels().bytes) : 0;
        frames.push_back(frame);
        if (options.frameDrawn && frame.result == FrameResult::Drawn) {
            options.frameDrawn(i + 1);
        }
    }
    return frames;
}

}  // namespace pixelforge::preview
