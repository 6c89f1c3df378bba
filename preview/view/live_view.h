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
#include "preview/view/view_window.h"

namespace pixelforge::preview {

struct LiveViewOptions {
    ViewState state = {};
    std::string name;               ///< path or identifier of the shader, for the title
    std::string playlistName = {};  ///< see `SessionOptions`
    std::string command = {};       ///< the command line that opens the shader, without its settings
    std::wstring pictureStem = {};  ///< absolute; pictures are saved as STEM-FRAME.png
    std::wstring lastPicture = {};  ///< absolute path for a PNG of the last frame, or empty
    int frames = 0;                 ///< 0: until the window is closed
    EventPlayer* events = nullptr;
    const std::atomic<bool>* stop = nullptr;  ///< set by another thread to end the view
    PlaylistPlayer* playlist = nullptr;       ///< if not null, the next shader follows one that fails

    /// The user dropped the file with this absolute path on the window. The view then ends, unless this
    /// throws `HostError`. May be empty.
    std::function<void(const std::wstring&, const ViewState&)> fileDropped = {};

    /// Polled between frames; true requests a reload. May be empty.
    std::function<bool()> sourceChanged = {};

    /// The messages since the last call, for stderr. Those of a load, for which the argument is true, are
    /// also for the window, and include what is wrong with the shader's source.
    std::function<std::vector<std::string>(bool)> takeMessages = {};
};

/// `Drawn` if a frame was drawn and, except with a playlist, the last load succeeded.
ExitStatus RunLiveView(const ModuleFunctions& module, const LiveViewOptions& options);

}  // namespace pixelforge::preview
