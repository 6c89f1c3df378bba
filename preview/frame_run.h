// A run's frames: draws and times them, with checksum, video, statistics and a JSON report.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "preview/host/host_session.h"
#include "preview/host/input_events.h"
#include "preview/host/playlist_lines.h"
#include "preview/options.h"

namespace pixelforge::preview {

/// CRC-32 as in PNG and zip files.
std::uint32_t Crc32(std::span<const std::uint8_t> bytes) noexcept;

/// One call of `ModuleDrawFrame`.
struct FrameRecord {
    FrameResult result = FrameResult::Failed;
    double milliseconds = 0.0;  ///< the call, including the dispatch of messages before it
    bool loading = false;       ///< this call had to load the shader
    std::uint32_t crc32 = 0;    ///< of the bitmap's bytes, lowest row first; 0 without checksums
};

struct FrameRunOptions {
    int frames = 60;
    bool checksums = false;
    bool realTime = false;
    const std::atomic<bool>* stop = nullptr;  ///< set by another thread to end the run early
    EventPlayer* events = nullptr;

    /// Called after each drawn frame with the number of frames so far. May be empty.
    std::function<void(int)> frameDrawn = {};
};

std::vector<FrameRecord> RunFrames(HostSession& session, const FrameRunOptions& options);

/// Returns a function that appends a frame to a YUV4MPEG2 file ("Y4M"): 4:2:0 with the chroma sample in the
/// middle of its four pixels, limited range, BT.601. (The format has no field for the matrix; ffmpeg assumes
/// it.) Reserves standard output for `kStandardOutput`: whatever else the program prints there then goes to
/// standard error. Throws `HostError`: `WrongUsage` if standard output is a terminal, `Failed` if the target
/// cannot be written, or for a frame of another size than the first. Both sides must be even.
std::function<void(const FramePixels&)> OpenVideo(const UserPath& target, std::int32_t framesPerSecond);

/// Milliseconds of the drawn frames that did not load, in order; if there are none, of all drawn frames.
std::vector<double> MeasuredTimes(std::span<const FrameRecord> frames);

struct FrameStatistics {
    std::ptrdiff_t drawn = 0;
    std::ptrdiff_t failed = 0;
    std::ptrdiff_t measured = 0;  ///< number of frames in the figures below
    double medianMilliseconds = 0.0;
    double percentile95Milliseconds = 0.0;  ///< nearest rank
    double worstMilliseconds = 0.0;
    double framesPerSecond = 0.0;  ///< from the median
};
FrameStatistics Summarize(std::span<const FrameRecord> frames);

struct Report {
    std::string shader = {};  ///< document, playlist or identifier
    std::int32_t width = 0;
    std::int32_t height = 0;
    int exitStatus = 0;
    std::vector<FrameRecord> frames = {};
    std::vector<std::string> debugLines = {};

    /// Of a playlist in the live view, which records no frames: the report then lists these instead.
    std::optional<std::vector<PlaylistFailure>> failedPicks = {};
};

/// UTF-8, indented, ending in a newline. Also names the OpenGL driver, which takes a temporary context and a
/// few tenths of a second; afterwards the thread has no current context.
std::string ReportJson(const Report& report);

}  // namespace pixelforge::preview
