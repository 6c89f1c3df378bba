// The sounds that the stand-in for a sound device plays.
#pragma once

#include <cstdint>
#include <string>

namespace pixelforge::test {

/// Sample at `frame`, full scale 1. Signals: "silence", "sine" of `hertz`, and "music" (a bass, a run of
/// notes and a beat, for the eye).
double SignalSample(const std::string& signal, double hertz, std::uint64_t frame, double rate);

/// One sample as `bits` wide little-endian integer, or as float for 32 bits. Writes bits / 8 bytes.
void WriteSample(double sample, unsigned bits, std::uint8_t* place);

}  // namespace pixelforge::test
