// The host window's size, and its subclass, through which keys and mouse reach the shaders.
#pragma once

#include <cstdint>

struct HWND__;

namespace pixelforge {

/// Pixels; y points down, right and bottom are exclusive.
struct PixelRect {
    std::int32_t left;
    std::int32_t top;
    std::int32_t right;
    std::int32_t bottom;

    std::int32_t Width() const noexcept { return right - left; }
    std::int32_t Height() const noexcept { return bottom - top; }
};

/// Adds a user to the window's subclass; the first one replaces the window's procedure. False, with nothing
/// counted, if the window is null or its procedure cannot be replaced.
bool AttachWindowInput(HWND__* window);

/// Removes a user; the window's last one restores its original procedure. If another subclass was placed on
/// top of this module's, both stay, and the module stays loaded until the process ends. It also does if the
/// procedure is still running after 100 ms, for example because the caller was called by it.
void DetachWindowInput(HWND__* window) noexcept;

/// For an unload while renderers still exist: does the same for every window.
void RestoreAllWindows() noexcept;

/// The window's client rectangle, its upper left corner at 0, 0; empty for a null window.
PixelRect ClientRectOf(HWND__* window) noexcept;

}  // namespace pixelforge
