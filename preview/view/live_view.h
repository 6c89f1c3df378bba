// The live view: runs the shader in a window until the user closes it.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "preview/host/host_error.h"
#include "preview/host/host_session.h"
#include "preview/host/input_events.h"
#include "preview/view/playlist_player.h"

namespace pixelforge::preview {

struct LiveViewOptions {
    SessionOptions session;         ///< the view replaces its window
    std::string name;               ///< path or identifier of the shader, for the title
    std::wstring pictureStem = {};  ///< absolute; pictures are saved as STEM-FRAME.png
    std::wstring lastPicture = {};  ///< absolute path for a PNG of the last frame, or empty
    int frames = 0;                 ///< 0: until the window is closed
    EventPlayer* events = nullptr;
    const std::atomic<bool>* stop = nullptr;  ///< set by another thread to end the view
    bool realTime = false;                    ///< shader time follows the clock
    PlaylistPlayer* playlist = nullptr;       ///< if not null, the next shader follows one that fails

    /// Polled between frames; true requests a reload. May be empty.
    std::function<bool()> sourceChanged = {};

    /// What is wrong with the shader's source apart from the module's messages, shown with those of each
    /// load. May be empty.
    std::function<std::vector<std::string>()> warnings = {};

    /// The module's messages since the last call, for stderr and, if they are a load's, for the window.
    std::function<std::vector<std::string>()> takeMessages = {};
};

/// `Drawn` if a frame was drawn and, except with a playlist, the last load succeeded.
ExitStatus RunLiveView(const ModuleFunctions& module, const LiveViewOptions& options);

}  // namespace pixelforge::preview
