// A sine wave and a short tune.
#include "tests/support/sound_double/signal.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace pixelforge::test {
namespace {

constexpr double kTwoPi = 6.28318530717958647692;
constexpr double kLevel = 0.5;  ///< of full scale

double Sine(double hertz, double seconds) {
    return std::sin(kTwoPi * std::fmod(hertz * seconds, 1.0));
}

/// White noise as a pure function of the frame number.
double Noise(std::uint64_t frame) {
    std::uint64_t mixed = (frame + 1) * 0x9E3779B97F4A7C15U;
    mixed = (mixed ^ mixed >> 30) * 0xBF58476D1CE4E5B9U;
    mixed = (mixed ^ mixed >> 27) * 0x94D049BB133111EBU;
    return static_cast<double>(mixed >> 11) / 4503599627370496.0 - 1;
}

/// Four notes per second over a bass, with a drum every half second.
double Music(double seconds, std::uint64_t frame) {
    constexpr int kSteps[] = {0, 7, 12, 3, 15, 10, 19, 7};
    const double beat = std::fmod(seconds, 0.5);
    const double note = std::fmod(seconds, 0.25);
    const double hertz = 220 * std::pow(2.0, kSteps[static_cast<std::size_t>(seconds * 4) % 8] / 12.0);
    const double melody =
        (Sine(hertz, seconds) + 0.5 * Sine(2 * hertz, seconds) + 0.25 * Sine(4 * hertz, seconds)) *
        std::exp(-note * 8);
    const double drum = (Sine(60, beat) + 0.6 * Noise(frame)) * std::exp(-beat * 9);
    return 0.25 * melody + 0.2 * Sine(55, seconds) + 0.3 * drum;
}

}  // namespace

double SignalSample(const std::string& signal, double hertz, std::uint64_t frame, double rate) {
    const double seconds = static_cast<double>(frame) / rate;
    if (signal == "music") {
        return Music(seconds, frame) * kLevel;
    }
    return signal == "sine" ? Sine(hertz, seconds) * kLevel : 0;
}

void WriteSample(double sample, unsigned bits, std::uint8_t* place) {
    if (bits == 32) {
        const auto value = static_cast<float>(sample);
        std::memcpy(place, &value, sizeof(value));
        return;
    }
    const double scale = std::ldexp(1.0, static_cast<int>(bits) - 1) - 1;
    const auto value = static_cast<std::int64_t>(std::lround(std::clamp(sample, -1.0, 1.0) * scale));
    for (unsigned byte = 0; byte < bits / 8; ++byte) {
        place[byte] = static_cast<std::uint8_t>(value >> (8 * byte));
    }
}

}  // namespace pixelforge::test
