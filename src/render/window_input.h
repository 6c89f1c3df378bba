// The host window's subclass, through which keys and mouse reach the shaders.
#pragma once

#include "render/pixel_rect.h"

struct HWND__;

namespace pixelforge {

/// Adds a user to the window's subclass; the first one replaces the window's procedure. False when the
/// window is null or the procedure cannot be replaced; nothing is counted then.
bool AttachWindowInput(HWND__* window);

/// Takes a user away; with the window's last one the procedure that it had before is put back.
void DetachWindowInput(HWND__* window) noexcept;

/// The window's client rectangle, its upper left corner at 0, 0; empty for a null window.
PixelRect ClientRectOf(HWND__* window) noexcept;

}  // namespace pixelforge
