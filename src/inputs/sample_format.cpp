// Frames of 16-bit integers and 32-bit floats.
#include "inputs/sample_format.h"

#include <cstring>

namespace pixelforge {
namespace {

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

}  // namespace pixelforge
