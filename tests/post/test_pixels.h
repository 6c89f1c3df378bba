// Helpers for the kernel tests: random pictures and guarded buffers at any alignment.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace pixelforge {

/// The same sequence on every run and in every build.
using Random = std::independent_bits_engine<std::mt19937, 32, std::uint32_t>;

/// One third black with random alpha, one third with a single dark channel, the rest arbitrary.
inline std::vector<std::uint32_t> RandomPixels(Random& random, std::size_t count) {
    std::vector<std::uint32_t> pixels(count);
    for (std::uint32_t& pixel : pixels) {
        const std::uint32_t any = random();
        const std::uint32_t masks[] = {0xFF000000, 0xFF000001U << (any >> 30) * 8, 0xFFFFFFFF};
        pixel = any & masks[random() % 3];
    }
    return pixels;
}

/// A copy of pixels at a chosen byte alignment, between guard bytes. Equality includes the guards.
class GuardedPixels {
public:
    GuardedPixels(const std::vector<std::uint32_t>& pixels, std::size_t misalignment)
        : start_(64 + misalignment), bytes_(start_ + pixels.size() * 4 + 64, 0xA5) {
        std::memcpy(Bits(), pixels.data(), pixels.size() * 4);
    }

    void* Bits() { return bytes_.data() + start_; }
    bool operator==(const GuardedPixels&) const = default;

private:
    std::size_t start_;
    std::vector<std::uint8_t> bytes_;
};

}  // namespace pixelforge
