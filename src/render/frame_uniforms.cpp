// What a frame's uniforms are computed from.
#include "render/frame_uniforms.h"

#include <cmath>

namespace pixelforge {

std::array<float, 4> MouseUniform(const MouseReading& mouse, bool clicked) noexcept {
    float z = static_cast<float>(mouse.click.x);
    float w = static_cast<float>(mouse.click.y);
    if (!clicked) {
        w = -std::fabs(w);
    }
    if (!mouse.buttonDown) {
        z = -std::fabs(z);
        w = -std::fabs(w);
    }
    return {static_cast<float>(mouse.current.x), static_cast<float>(mouse.current.y), z, w};
}

std::array<float, 4> DateUniform(const CalendarTime& now) noexcept {
    return {static_cast<float>(now.year), static_cast<float>(now.month), static_cast<float>(now.day),
            static_cast<float>(now.hour * 3600 + now.minute * 60 + now.second)};
}

float FrameRateUniform(std::int32_t frameCounter, std::uint64_t elapsedMilliseconds) noexcept {
    if (elapsedMilliseconds == 0) {
        return 60.0F;
    }
    return static_cast<float>(frameCounter * 1000.0 / static_cast<double>(elapsedMilliseconds));
}

}  // namespace pixelforge
