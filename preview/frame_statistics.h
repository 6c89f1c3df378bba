// Figures over a run's frames, and the checksum that tells one frame from another.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "module/host_abi.h"

namespace pixelforge::preview {

/// CRC-32 as in PNG and zip files.
std::uint32_t Crc32(std::span<const std::uint8_t> bytes) noexcept;

/// Of values in ascending order, the one that `percent` of them do not exceed (nearest rank); 0 for no
/// values.
double Percentile(std::span<const double> sorted, double percent);

/// Of values in ascending order, the middle one or the mean of the two middle ones; 0 for no values.
double Median(std::span<const double> sorted);

/// What one call of `ModuleDrawFrame` gave.
struct FrameRecord {
    FrameResult result = FrameResult::Failed;
    double milliseconds = 0.0;  ///< the call, and the delivery of messages before it
    bool loading = false;       ///< a call that had to load the shader first
    std::uint32_t crc32 = 0;    ///< over the bitmap's memory, lowest row first; 0 when not asked for
};

struct FrameStatistics {
    std::size_t drawn = 0;     ///< frames that were drawn
    std::size_t failed = 0;    ///< frames that failed
    std::size_t measured = 0;  ///< frames behind the figures below
    double medianMilliseconds = 0.0;
    double percentile95Milliseconds = 0.0;
    double percentile99Milliseconds = 0.0;
    double worstMilliseconds = 0.0;
    double framesPerSecond = 0.0;  ///< from the median
};

/// The figures are over the drawn frames that did not load; when there are none, over all drawn ones.
FrameStatistics Summarize(std::span<const FrameRecord> frames);

}  // namespace pixelforge::preview
