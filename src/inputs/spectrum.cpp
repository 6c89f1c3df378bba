// Sample conversion, and the spectrum step: window, transform, tilt, averages, smoothing, peaks, bytes,
// decay.
#include "inputs/spectrum.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace pixelforge {
namespace {

using Columns = std::span<double, kSpectrumColumns>;

constexpr double kTwoPiBy1023 = 0.00614192112138767;
constexpr double kBinHertz20k = 2.048e7;  ///< 20 kHz x kTransformSize
constexpr double kSmoothingWeight = 8;    ///< weight of the old average; the new value has weight 1
constexpr unsigned kBandShift = 1;        ///< smoothing averages groups of 2^kBandShift columns
constexpr double kTilt = 100.0 / 512;
constexpr double kDecay = 0.999;

template <class Sample>
double ReadSample(const std::byte* address) noexcept {
    Sample sample;
    std::memcpy(&sample, address, sizeof(sample));
    return sample;
}

template <class Sample>
void Convert(const SampleFormat& format, const std::byte* frame, std::span<double> mono) noexcept {
    const bool stereo = format.channels == 2;
    for (double& value : mono) {
        value = ReadSample<Sample>(frame);
        if (stereo) {
            value = (value + ReadSample<Sample>(frame + sizeof(Sample))) * 0.5;
        }
        frame += format.frameBytes;
    }
}

/// Like fmin and fmax, these ignore a NaN operand, but compile inline.
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

/// Interpolates linearly between the means of neighbouring groups. The mean past the last group is 0, which
/// pulls the last column halfway to 0.
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

/// In silence the averages stall at subnormals, about 100 times slower; skip once stable.
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

/// The part of the ring that the waveform shows.
Columns OlderHalf(SpectrumState& state) noexcept {
    return std::span(state.sampleRing).first<kSpectrumColumns>();
}

void FindWaveRange(SpectrumState& state) noexcept {
    for (const double sample : OlderHalf(state)) {
        state.waveMin = Smaller(state.waveMin, sample);
        state.waveMax = Larger(state.waveMax, sample);
    }
}

/// Settled averages are a few times the smallest subnormal: 0 relative to any normal peak.
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

/// A column that never had any power yields 0 / 0; NaN counts as 0.
std::uint8_t SpectrumByte(double value, double peak) noexcept {
    const double share = value / peak;
    return share > 0 ? static_cast<std::uint8_t>(std::min(share, 1.0) * 255) : std::uint8_t{0};
}

/// NaN (a constant signal) gives 255. Negative levels wrap to the low byte of a 32-bit integer, which is 0
/// below that integer's range.
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

bool IsReadable(const SampleFormat& format) noexcept {
    const std::uint32_t samplesRead = format.channels == 2 ? 2 : 1;
    return (format.bitsPerSample == 16 || format.bitsPerSample == 32) && format.channels != 0 &&
           format.frameBytes >= samplesRead * format.bitsPerSample / 8;
}

void ConvertFrames(const SampleFormat& format, const std::byte* frames, std::span<double> mono) noexcept {
    if (format.bitsPerSample == 16) {
        Convert<std::int16_t>(format, frames, mono);
    } else {
        Convert<float>(format, frames, mono);
    }
}

SpectrumState::SpectrumState() noexcept {
    binPeak.fill(kLowest);
    for (std::size_t n = 0; n < kTransformSize; ++n) {
        window[n] = (1 - std::cos(static_cast<double>(n) * kTwoPiBy1023)) * 0.5;
    }
    SetCaptureRate(*this, 0);
}

/// Below 40 kHz columns reach the mirrored half of the transform; below 20 kHz they wrap past its end.
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
