// A run's results: frame records, checksum, statistics, OpenGL driver, and a JSON report of them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "module/host_abi.h"
#include "preview/host/playlist_lines.h"

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

struct FrameStatistics {
    std::size_t drawn = 0;
    std::size_t failed = 0;
    std::size_t measured = 0;  ///< number of frames in the figures below
    double medianMilliseconds = 0.0;
    double percentile95Milliseconds = 0.0;  ///< nearest rank, like the next one
    double percentile99Milliseconds = 0.0;
    double worstMilliseconds = 0.0;
    double framesPerSecond = 0.0;  ///< from the median
};

/// Milliseconds of the frames that `Summarize` measures, in their order.
std::vector<double> MeasuredTimes(std::span<const FrameRecord> frames);

/// Times are based on the drawn frames that did not load; if there are none, on all drawn frames.
FrameStatistics Summarize(std::span<const FrameRecord> frames);

/// The driver's strings; empty if no context could be created.
struct GlInfo {
    std::string version;
    std::string renderer;
    std::string vendor;
};

/// Queries a temporary context on a hidden window, in the module's pixel format; takes a few tenths of a
/// second. Restores the thread's current context.
GlInfo QueryGlInfo();

struct Report {
    std::string shader;  ///< document, playlist or identifier
    std::int32_t width = 0;
    std::int32_t height = 0;
    int exitStatus = 0;
    GlInfo gl;
    std::vector<FrameRecord> frames;
    std::vector<std::string> debugLines;

    /// Of a playlist in the live view, which records no frames: the report then lists these instead.
    std::optional<std::vector<PlaylistFailure>> failedPicks = {};
};

/// UTF-8, indented, ending in a newline.
std::string ReportJson(const Report& report);

}  // namespace pixelforge::preview
