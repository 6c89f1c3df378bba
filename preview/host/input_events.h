// Scripted input: what a file says happens at which frame.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace pixelforge::preview {

enum class EventKind { KeyDown, KeyUp, MouseMove, ButtonDown, ButtonUp, Resize };

struct InputEvent {
    std::int32_t frame = 0;  ///< delivered before this frame is drawn; the first one is 0
    EventKind kind = EventKind::KeyDown;
    std::int32_t a = 0;  ///< virtual-key code, x, or width
    std::int32_t b = 0;  ///< y from the top, or height
};

/// Reads one event a line, "FRAME ACTION NUMBERS"; blank lines and what follows "#" do not count. In order
/// of frames, events of one frame in the file's order. Throws `HostError` with `WrongUsage` that names
/// `fileName` and the line.
std::vector<InputEvent> ParseInputEvents(std::string_view text, std::string_view fileName);

}  // namespace pixelforge::preview
