// The live view: runs the shader in a window until the user closes it.
#pragma once

#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "preview/host/host_error.h"
#include "preview/host/host_session.h"
#include "preview/host/input_events.h"
#include "preview/view/playlist_player.h"

namespace pixelforge::preview {

/// What the next view in this one's place starts with.
struct ViewState {
    std::vector<ControlSetting> settings = {};
    std::int32_t width = 0;  ///< of the window's client area
    std::int32_t height = 0;
    bool fullScreen = false;
    double scale = 1.0;
    WindowPlace place = {};
};

struct LiveViewOptions {
    SessionOptions session;         ///< the view replaces its window
    std::string name;               ///< path or identifier of the shader, for the title
    std::wstring pictureStem = {};  ///< absolute; pictures are saved as STEM-FRAME.png
    std::wstring lastPicture = {};  ///< absolute path for a PNG of the last frame, or empty
    int frames = 0;                 ///< 0: until the window is closed
    EventPlayer* events = nullptr;
    const std::atomic<bool>* stop = nullptr;  ///< set by another thread to end the view
    bool realTime = false;                    ///< shader time follows the clock
    bool fullScreen = false;
    std::int32_t monitor = 0;            ///< from 1; 0: the system's choice
    double scale = 1.0;                  ///< frame size by window size
    PlaylistPlayer* playlist = nullptr;  ///< if not null, the next shader follows one that fails

    /// The command line that opens the shader, without settings. May be empty.
    std::function<std::string()> command = {};

    std::optional<WindowPlace> place = {};  ///< of the window, instead of a monitor

    /// The user dropped the file with this absolute path on the window. The view then ends, unless this
    /// throws `HostError`. May be empty.
    std::function<void(const std::wstring&, const ViewState&)> fileDropped = {};

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
