// What a frame's uniforms are computed from, apart from GL and the system's clock.
#pragma once

#include <array>
#include <cstdint>

#include "render/input_state.h"

namespace pixelforge {

/// Local time; month and day are counted from 1.
struct CalendarTime {
    std::uint32_t year;
    std::uint32_t month;
    std::uint32_t day;
    std::uint32_t hour;
    std::uint32_t minute;
    std::uint32_t second;
};

/// iMouse: the current position and the click's. w is positive on the first frame after a click only, z
/// while the button is down; `clicked` tells that first frame.
std::array<float, 4> MouseUniform(const MouseReading& mouse, bool clicked) noexcept;

/// iDate: year, month, day and whole seconds of the day.
std::array<float, 4> DateUniform(const CalendarTime& now) noexcept;

/// iFrameRate, frames per second; 60 while no millisecond has passed.
float FrameRateUniform(std::int32_t frameCounter, std::uint64_t elapsedMilliseconds) noexcept;

}  // namespace pixelforge
