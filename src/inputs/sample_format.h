// The form of a captured stream's frames, and their conversion to mono samples.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace pixelforge {

/// As the sound system describes its mix. Nothing in it is trusted.
struct SampleFormat {
    double rate;  ///< frames per second
    std::uint32_t bitsPerSample;
    std::uint32_t channels;
    std::uint32_t frameBytes;  ///< from one frame to the next
};

/// Only signed 16-bit integers and 32-bit floats are read, and only frames that hold the samples they claim.
bool IsReadable(const SampleFormat& format) noexcept;

/// Mono values of the first `mono.size()` frames, in the samples' own scale: the mean of a stereo frame, the
/// first channel of any other. The format is readable.
void ConvertFrames(const SampleFormat& format, const std::byte* frames, std::span<double> mono) noexcept;

}  // namespace pixelforge
