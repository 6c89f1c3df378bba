// The signals that the sound double plays.
#pragma once

#include <cstdint>
#include <string>

namespace pixelforge::test {

/// Sample at `frame`; full scale is 1. Signals: "silence", "sine" of `hertz`, and "music" (bass, melody and
/// drum, for manual use).
double SignalSample(const std::string& signal, double hertz, std::uint64_t frame, double rate);

/// Writes one sample as a float for 32 bits, otherwise as a little-endian integer; bits / 8 bytes.
void WriteSample(double sample, unsigned bits, std::uint8_t* place);

}  // namespace pixelforge::test
