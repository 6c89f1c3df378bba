// The keys by which the live view is worked, and the list that tells them to the user.
#pragma once

#include <optional>
#include <string>

namespace pixelforge::preview {

enum class ViewCommand {
    Help,
    Pause,
    Step,
    Reload,
    MoreColumns,
    FewerColumns,
    MoreRows,
    FewerRows,
    Mirror,
    Foreground,
    Levels,
    SavePicture,
};

/// What a key press means to the view. Only function keys and Pause mean anything: letters, digits and
/// arrows belong to the shader, which hears every key, these included.
std::optional<ViewCommand> CommandOfKey(unsigned virtualKey, bool shift);

/// One line for each key.
std::wstring KeyList();

}  // namespace pixelforge::preview
