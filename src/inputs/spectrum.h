// From mono samples to the 1024 bytes that shaders sample: a row of spectrum over a row of waveform.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

#include "inputs/fourier.h"

namespace pixelforge {

inline constexpr std::size_t kSpectrumColumns = 512;

/// Bytes 0 to 511 are the spectrum, 512 to 1023 the waveform.
using SpectrumBytes = std::array<std::uint8_t, 2 * kSpectrumColumns>;

/// What the analysis carries from one full ring to the next; nothing in it is ever reset, so that the scale
/// of what is heard adapts over time.
struct SpectrumState {
    using Columns = std::array<double, kSpectrumColumns>;

    static constexpr double kLowest = std::numeric_limits<double>::lowest();

    SpectrumState() noexcept;

    std::array<double, kTransformSize> sampleRing{};  ///< in the samples' own scale
    std::int32_t ringPos = 0;                         ///< next index to write
    Columns binAverage{};
    bool averagesSettled = false;   ///< a further silent step would leave them as they are
    Columns binPeak;                ///< decaying; read only by the linear mode
    Columns bandScratch{};          ///< means of neighbouring columns; the upper half stays 0
    double spectrumPeak = kLowest;  ///< decaying, of all columns
    double waveMin = std::numeric_limits<double>::max();
    double waveMax = kLowest;
    double captureRate = 0;  ///< frames per second
    std::int32_t binsTo20k = kSpectrumColumns;
    std::int32_t linearSpectrum = 0;  ///< 1: power without logarithm and tilt, each column by its own peak
    std::array<std::uint16_t, kSpectrumColumns> columnBin{};  ///< bin of the transform that a column shows
    std::array<double, kTransformSize> window;
    FourierTransform transform;
    FourierBuffer fftBuffer;  ///< between steps of no meaning
};

/// Takes up the rate of a stream that begins; averages and ring go on.
void SetCaptureRate(SpectrumState& state, double rate) noexcept;

/// The place for the next samples up to the end of the ring.
std::span<double> FreeRing(SpectrumState& state) noexcept;

/// Tells that the first `samples` places of `FreeRing` were filled. True when the ring is full and its
/// spectrum is due, before further samples are added.
bool AdvanceRing(SpectrumState& state, std::size_t samples) noexcept;

/// Analyses the full ring.
SpectrumBytes RunSpectrumStep(SpectrumState& state) noexcept;

}  // namespace pixelforge
