// The live view: frames in a window, one after the other, until the user closes it.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "preview/host/event_player.h"
#include "preview/host/host_error.h"
#include "preview/host/host_session.h"

namespace pixelforge::preview {

struct LiveViewOptions {
    SessionOptions session;    ///< its window is replaced by the view's
    std::string name;          ///< of the shader, for the title; folders are left out there
    std::wstring pictureStem;  ///< absolute; pictures are named STEM-FRAME.png
    std::wstring lastPicture;  ///< absolute path for the last frame's picture, or empty
    int frames = 0;            ///< 0: until the window is closed
    EventPlayer* events = nullptr;
    const std::atomic<bool>* stop = nullptr;

    /// Asked between frames; true means that the shader is to be loaded anew. Empty: never.
    std::function<bool()> sourceChanged = {};

    /// The module's messages since the last call. They go to stderr; those of a failed load are shown.
    std::function<std::vector<std::string>()> takeMessages = {};
};

/// `Drawn` when a frame was drawn and the last load did not fail.
ExitStatus RunLiveView(const ModuleLibrary& library, const LiveViewOptions& options);

}  // namespace pixelforge::preview
