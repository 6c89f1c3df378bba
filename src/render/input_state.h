// Keyboard and mouse state of the host's windows: written by the window's thread, read by the drawing thread.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>

namespace pixelforge {

inline constexpr std::uint32_t kKeys = 256;
inline constexpr std::uint32_t kKeyboardRows = 3;

/// Rows `held`, `pressed` and `toggled`, one byte (0 or 255) per virtual-key code.
using KeyboardImage = std::array<std::uint8_t, std::size_t{kKeys} * kKeyboardRows>;

/// Pixels in a window's client area; y counts upward from the lower edge.
struct MousePoint {
    std::int32_t x;
    std::int32_t y;
};

struct MouseReading {
    bool buttonDown;
    std::uint32_t clicks;
    MousePoint current;
    MousePoint click;
};

/// Shared by all renderers of the process. Changes are counted instead of flagged, so that every renderer
/// sees each of them.
class InputState {
public:
    /// A key message. Every one flips `toggled`, auto-repeats included; only the first sets `pressed`. Codes
    /// above 255 are ignored.
    void KeyDown(std::uint64_t key) noexcept;
    void KeyUp(std::uint64_t key) noexcept;

    /// `position` is a mouse message's LPARAM: signed 16-bit x, then y from the upper edge.
    void MouseMove(std::int64_t position, std::int32_t clientHeight) noexcept;
    void ButtonDown(std::int64_t position, std::int32_t clientHeight) noexcept;
    void ButtonUp() noexcept;

    std::uint32_t KeyboardChanges() const noexcept {
        return keyboardChanged_.load(std::memory_order_acquire);
    }
    void ReadKeyboard(KeyboardImage& image) const noexcept;
    MouseReading ReadMouse() const noexcept;

private:
    using KeyRow = std::array<std::atomic<std::uint8_t>, kKeys>;

    KeyRow held_{};
    KeyRow pressed_{};
    KeyRow toggled_{};
    KeyRow down_{};
    std::atomic<std::uint32_t> keyboardChanged_{0};
    std::atomic<bool> buttonDown_{false};
    std::atomic<std::uint32_t> clicks_{0};
    std::atomic<std::uint64_t> current_{0};  ///< a `MousePoint`, stored as one word so that x and y match
    std::atomic<std::uint64_t> click_{0};
};

/// The input state of the process.
InputState& HostInput() noexcept;

}  // namespace pixelforge
