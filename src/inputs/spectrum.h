// Sound analysis: turns captured frames into mono samples, and every 1024 samples into the bytes that shaders
// read.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

#include "inputs/fourier.h"

namespace pixelforge {

/// The capture format as the sound system reports it; untrusted.
struct SampleFormat {
    double rate;  ///< frames per second
    std::uint32_t bitsPerSample;
    std::uint32_t channels;
    std::uint32_t frameBytes;  ///< stride
};

/// True for signed 16-bit integers and 32-bit floats whose frames are large enough for their samples.
bool IsReadable(const SampleFormat& format) noexcept;

/// Converts `mono.size()` frames of a readable format to mono, keeping the samples' scale: the mean of a
/// stereo frame, the first channel of any other.
void ConvertFrames(const SampleFormat& format, const std::byte* frames, std::span<double> mono) noexcept;

inline constexpr std::size_t kSpectrumColumns = 512;

/// Bytes 0 to 511 hold the spectrum, 512 to 1023 the waveform.
using SpectrumBytes = std::array<std::uint8_t, 2 * kSpectrumColumns>;

/// State kept from one full ring to the next. Never reset, so that the scale adapts over time.
struct SpectrumState {
    using Columns = std::array<double, kSpectrumColumns>;

    static constexpr double kLowest = std::numeric_limits<double>::lowest();

    SpectrumState() noexcept;

    std::array<double, kTransformSize> sampleRing{};  ///< mono, in the stream's own scale
    std::int32_t ringPos = 0;                         ///< next index to write
    Columns binAverage{};
    bool averagesSettled = false;   ///< another silent step would not change `binAverage`
    Columns binPeak;                ///< decaying; used only in linear mode
    Columns bandScratch{};          ///< group means; the upper half stays 0
    double spectrumPeak = kLowest;  ///< decaying, over all columns
    double waveMin = std::numeric_limits<double>::max();
    double waveMax = kLowest;
    double captureRate = 0;  ///< frames per second
    std::int32_t binsTo20k = kSpectrumColumns;
    std::int32_t linearSpectrum = 0;  ///< 1: plain power, each column normalised by its own peak
    std::array<std::uint16_t, kSpectrumColumns> columnBin{};  ///< transform bin of each column
    std::array<double, kTransformSize> window;
    FourierTransform transform;
    FourierBuffer fftBuffer;  ///< scratch
};

/// Sets the rate of a new stream; averages and ring are kept.
void SetCaptureRate(SpectrumState& state, double rate) noexcept;

/// The unfilled rest of the ring.
std::span<double> FreeRing(SpectrumState& state) noexcept;

/// Records that the first `samples` entries of `FreeRing` were filled. True if the ring is now full:
/// `RunSpectrumStep` is due before more samples are added.
bool AdvanceRing(SpectrumState& state, std::size_t samples) noexcept;

/// Analyses the full ring.
SpectrumBytes RunSpectrumStep(SpectrumState& state) noexcept;

}  // namespace pixelforge
