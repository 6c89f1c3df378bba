// Keyboard and mouse state of the host's windows. Key changes and clicks end by incrementing a counter, which
// publishes them.
#include "render/input_state.h"

#include <bit>

namespace pixelforge {
namespace {

constexpr std::uint8_t kOn = 255;

std::int16_t SignedHalf(std::int64_t position, unsigned shift) noexcept {
    return static_cast<std::int16_t>(static_cast<std::uint64_t>(position) >> shift & 0xFFFF);
}

std::uint64_t ClientPoint(std::int64_t position, std::int32_t clientHeight) noexcept {
    return std::bit_cast<std::uint64_t>(
        MousePoint{SignedHalf(position, 0), clientHeight - SignedHalf(position, 16)});
}

}  // namespace

void InputState::KeyDown(std::uint64_t key) noexcept {
    if (key >= kKeys) {
        return;
    }
    held_[key].store(kOn, std::memory_order_relaxed);
    if (down_[key].exchange(kOn, std::memory_order_relaxed) == 0) {
        pressed_[key].store(kOn, std::memory_order_relaxed);
    }
    toggled_[key].fetch_xor(kOn, std::memory_order_relaxed);
    keyboardChanged_.fetch_add(1, std::memory_order_release);
}

void InputState::KeyUp(std::uint64_t key) noexcept {
    if (key >= kKeys) {
        return;
    }
    held_[key].store(0, std::memory_order_relaxed);
    pressed_[key].store(0, std::memory_order_relaxed);
    down_[key].store(0, std::memory_order_relaxed);
    keyboardChanged_.fetch_add(1, std::memory_order_release);
}

void InputState::MouseMove(std::int64_t position, std::int32_t clientHeight) noexcept {
    if (buttonDown_.load(std::memory_order_relaxed)) {
        current_.store(ClientPoint(position, clientHeight), std::memory_order_relaxed);
    }
}

void InputState::ButtonDown(std::int64_t position, std::int32_t clientHeight) noexcept {
    const std::uint64_t point = ClientPoint(position, clientHeight);
    current_.store(point, std::memory_order_relaxed);
    click_.store(point, std::memory_order_relaxed);
    buttonDown_.store(true, std::memory_order_relaxed);
    clicks_.fetch_add(1, std::memory_order_release);
}

void InputState::ButtonUp() noexcept {
    buttonDown_.store(false, std::memory_order_relaxed);
}

void InputState::ReadKeyboard(KeyboardImage& image) const noexcept {
    const KeyRow* const rows[kKeyboardRows] = {&held_, &pressed_, &toggled_};
    std::size_t at = 0;
    for (const KeyRow* row : rows) {
        for (const std::atomic<std::uint8_t>& key : *row) {
            image[at++] = key.load(std::memory_order_relaxed);
        }
    }
}

MouseReading InputState::ReadMouse() const noexcept {
    MouseReading reading = {};
    reading.clicks = clicks_.load(std::memory_order_acquire);
    reading.buttonDown = buttonDown_.load(std::memory_order_relaxed);
    reading.current = std::bit_cast<MousePoint>(current_.load(std::memory_order_relaxed));
    reading.click = std::bit_cast<MousePoint>(click_.load(std::memory_order_relaxed));
    return reading;
}

InputState& HostInput() noexcept {
    static constinit InputState state;
    return state;
}

}  // namespace pixelforge
