// The frame loop and its progress bar.
#include "preview/frame_run.h"

#include <windows.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>

namespace pixelforge::preview {
namespace {

using Clock = std::chrono::steady_clock;

/// Draws nothing if stderr is not a console or the run is short. The destructor erases it.
class ProgressBar {
public:
    explicit ProgressBar(int total)
        : total_(total), onConsole_(StderrIsConsole()), next_(Clock::now() + kDelay) {}
    ~ProgressBar() {
        if (drawn_) {
            std::fprintf(stderr, "\r%60s\r", "");
        }
    }
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void Advance(int done);

private:
    static constexpr auto kDelay = std::chrono::milliseconds(1000);
    static constexpr auto kInterval = std::chrono::milliseconds(200);
    static constexpr std::size_t kCells = 40;

    static bool StderrIsConsole() {
        DWORD mode = 0;
        return GetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), &mode) != FALSE;
    }

    int total_;
    bool onConsole_;
    bool drawn_ = false;
    Clock::time_point next_;
};

void ProgressBar::Advance(int done) {
    const auto now = Clock::now();
    if (!onConsole_ || now < next_) {
        return;
    }
    next_ = now + kInterval;
    drawn_ = true;
    const auto cells =
        static_cast<std::size_t>(static_cast<long long>(done) * static_cast<long long>(kCells) / total_);
    const std::string bar = std::string(cells, '#') + std::string(kCells - cells, '.');
    std::fprintf(stderr, "\r[%s] %d of %d", bar.c_str(), done, total_);
    std::fflush(stderr);
}

/// True for the first call, after a reset and after a failed load.
bool NextCallLoads(const std::vector<FrameRecord>& frames) {
    if (frames.empty() || frames.back().result == FrameResult::ResetWanted) {
        return true;
    }
    return frames.back().loading && frames.back().result == FrameResult::Failed;
}

FrameRecord DrawTimed(HostSession& session) {
    FrameRecord frame;
    const auto start = Clock::now();
    frame.result = session.DrawFrame();
    frame.milliseconds = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    return frame;
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
    ProgressBar progress(options.frames);
    RealTime realTime(session);
    const auto stopped = [&] { return options.stop && options.stop->load(); };
    for (int i = 0; i < options.frames && !stopped() && !NeverSucceeds(frames); ++i) {
        const bool loading = PlayEvents(options.events, i, session) || NextCallLoads(frames);
        if (options.realTime) {
            realTime.Advance();
        }
        FrameRecord frame = DrawTimed(session);
        frame.loading = loading;
        frame.crc32 = options.checksums ? Crc32(session.Pixels().bytes) : 0;
        frames.push_back(frame);
        if (loading) {
            realTime.Restart();
        }
        if (frame.result == FrameResult::Drawn) {
            if (options.frameDrawn) {
                options.frameDrawn(i + 1);
            }
            progress.Advance(i + 1);
        }
    }
    return frames;
}

}  // namespace pixelforge::preview
