// The spectrum step: window, transform, tilt, averages, smoothing, peaks, bytes, decay.
#include "inputs/spectrum.h"

#include <algorithm>
#include <cmath>

namespace pixelforge {
namespace {

using Columns = std::span<double, kSpectrumColumns>;

constexpr double kTwoPiBy1023 = 0.00614192112138767;
constexpr double kBinHertz20k = 2.048e7;  ///< 20 kHz times the transform's size
constexpr double kSmoothingWeight = 8;    ///< parts of the old average against one of the new value
constexpr unsigned kBandShift = 1;        ///< the smoothing groups 2 to this power columns
constexpr double kTilt = 100.0 / 512;
constexpr double kDecay = 0.999;

/// Where one operand is NaN, these take the other. Written out: the library's forms are calls.
double Smaller(double a, double b) noexcept {
    return a < b || std::isnan(b) ? a : b;
}

double Larger(double a, double b) noexcept {
    return a > b || std::isnan(b) ? a : b;
}

std::int32_t BinsTo20k(double rate) noexcept {
    const double bins = std::round(kBinHertz20k / rate);
    const bool fits = bins >= 1 && bins <= std::numeric_limits<std::int32_t>::max();
    return fits ? static_cast<std::int32_t>(bins) : static_cast<std::int32_t>(kSpectrumColumns);
}

void TransformRing(SpectrumState& state) noexcept {
    std::array<double, kTransformSize> windowed;
    for (std::size_t n = 0; n < kTransformSize; ++n) {
        windowed[n] = state.window[n] * state.sampleRing[n];
    }
    state.transform.Run(windowed, state.fftBuffer);
}

double ColumnValue(const SpectrumState& state, std::size_t column) noexcept {
    const double real = state.fftBuffer.real[state.columnBin[column]];
    const double imaginary = state.fftBuffer.imaginary[state.columnBin[column]];
    const double power = real * real + imaginary * imaginary;
    return state.linearSpectrum ? power : std::log10(power + 1) * static_cast<double>(column) * kTilt;
}

bool IsSilent(const SpectrumState& state) noexcept {
    return std::ranges::all_of(state.sampleRing, [](double sample) { return sample == 0; });
}

void AverageColumns(SpectrumState& state, bool silent) noexcept {
    for (std::size_t i = 0; i < kSpectrumColumns; ++i) {
        const double value = silent ? 0 : ColumnValue(state, i);
        state.binAverage[i] = (kSmoothingWeight * state.binAverage[i] + value) / 9;
        state.binPeak[i] = Larger(state.binPeak[i], state.binAverage[i]);
    }
}

/// Replaces each value by the line between the means of its group and the next one. Behind the last group
/// lies a 0, which pulls the last column halfway down.
void SmoothBands(Columns values, SpectrumState::Columns& means) noexcept {
    constexpr std::size_t kGroup = std::size_t{1} << kBandShift;
    constexpr std::size_t kGroups = kSpectrumColumns / kGroup;
    static_assert(kGroup == 2);
    for (std::size_t j = 0; j < kGroups; ++j) {
        means[j] = (values[2 * j] + values[2 * j + 1]) / kGroup;
    }
    for (std::size_t i = 0; i < kSpectrumColumns; ++i) {
        const std::size_t group = i / kGroup;
        const double f = static_cast<double>(i % kGroup) / kGroup;
        values[i] = (1 - f) * means[group] + f * means[group + 1];
    }
}

/// In silence the averages fall until rounding holds them, for ever among the subnormal numbers, which cost
/// the processor a hundred times as much. From there on a silent step would not change them.
void UpdateAverages(SpectrumState& state) noexcept {
    const bool silent = IsSilent(state);
    if (silent && state.averagesSettled) {
        return;
    }
    const SpectrumState::Columns before = state.binAverage;
    if (!silent) {
        TransformRing(state);
    }
    AverageColumns(state, silent);
    SmoothBands(state.binAverage, state.bandScratch);
    state.averagesSettled = silent && !state.linearSpectrum && state.binAverage == before;
}

/// Only the older half of the ring counts for the waveform.
Columns OlderHalf(SpectrumState& state) noexcept {
    return std::span(state.sampleRing).first<kSpectrumColumns>();
}

void FindWaveRange(SpectrumState& state) noexcept {
    for (const double sample : OlderHalf(state)) {
        state.waveMin = Smaller(state.waveMin, sample);
        state.waveMax = Larger(state.waveMax, sample);
    }
}

/// Averages at rest are a few units of the smallest number; beside any normal peak they are nothing.
bool IsBlack(const SpectrumState& state) noexcept {
    return state.averagesSettled && state.spectrumPeak >= std::numeric_limits<double>::min();
}

void FindSpectrumPeak(SpectrumState& state) noexcept {
    if (IsBlack(state)) {
        return;
    }
    for (const double average : state.binAverage) {
        state.spectrumPeak = Larger(state.spectrumPeak, average);
    }
}

/// A column without any power yet divides 0 by 0: NaN counts as 0.
std::uint8_t SpectrumByte(double value, double peak) noexcept {
    const double share = value / peak;
    return share > 0 ? static_cast<std::uint8_t>(std::min(share, 1.0) * 255) : std::uint8_t{0};
}

/// NaN (a signal without any range) gives 255. What lies below 0 wraps as the low byte of a 32-bit integer
/// does; beyond that integer's range the low byte is 0.
std::uint8_t WaveformByte(double level) noexcept {
    if (!(level < 255)) {
        return 255;
    }
    if (level <= std::numeric_limits<std::int32_t>::min()) {
        return 0;
    }
    return static_cast<std::uint8_t>(static_cast<std::int32_t>(level));
}

void WriteSpectrumRow(const SpectrumState& state, std::uint8_t* row) noexcept {
    if (IsBlack(state)) {
        return;
    }
    for (std::size_t i = 0; i < kSpectrumColumns; ++i) {
        const double peak = state.linearSpectrum ? state.binPeak[i] : state.spectrumPeak;
        row[i] = SpectrumByte(state.binAverage[i], peak);
    }
}

void WriteWaveformRow(const SpectrumState& state, std::uint8_t* row) noexcept {
    const double perRange = 1 / (state.waveMax - state.waveMin);
    for (std::size_t i = 0; i < kSpectrumColumns; ++i) {
        row[i] = WaveformByte((state.sampleRing[i] - state.waveMin) * perRange * 255);
    }
}

void Decay(SpectrumState& state) noexcept {
    for (double& peak : state.binPeak) {
        peak *= kDecay;
    }
    state.spectrumPeak *= kDecay;
    const double contraction = (state.waveMax - state.waveMin) * (1 - kDecay);
    state.waveMin += contraction;
    state.waveMax -= contraction;
}

}  // namespace

SpectrumState::SpectrumState() noexcept {
    binPeak.fill(kLowest);
    for (std::size_t n = 0; n < kTransformSize; ++n) {
        window[n] = (1 - std::cos(static_cast<double>(n) * kTwoPiBy1023)) * 0.5;
    }
    SetCaptureRate(*this, 0);
}

/// Rates below 40 kHz reach into the mirrored half of the transform, those below 20 kHz around its end.
void SetCaptureRate(SpectrumState& state, double rate) noexcept {
    state.captureRate = rate;
    state.binsTo20k = BinsTo20k(rate);
    const double binsPerColumn = state.binsTo20k / static_cast<double>(kSpectrumColumns);
    for (std::size_t i = 0; i < kSpectrumColumns; ++i) {
        const auto bin = static_cast<std::int64_t>(static_cast<double>(i) * binsPerColumn);
        state.columnBin[i] = static_cast<std::uint16_t>(bin % static_cast<std::int64_t>(kTransformSize));
    }
}

std::span<double> FreeRing(SpectrumState& state) noexcept {
    return std::span(state.sampleRing).subspan(static_cast<std::size_t>(state.ringPos));
}

bool AdvanceRing(SpectrumState& state, std::size_t samples) noexcept {
    const std::size_t position = static_cast<std::size_t>(state.ringPos) + samples;
    state.ringPos = static_cast<std::int32_t>(position % kTransformSize);
    return samples > 0 && state.ringPos == 0;
}

SpectrumBytes RunSpectrumStep(SpectrumState& state) noexcept {
    UpdateAverages(state);
    FindWaveRange(state);
    FindSpectrumPeak(state);
    SmoothBands(OlderHalf(state), state.bandScratch);
    SpectrumBytes bytes = {};
    WriteSpectrumRow(state, bytes.data());
    WriteWaveformRow(state, bytes.data() + kSpectrumColumns);
    Decay(state);
    return bytes;
}

}  // namespace pixelforge
