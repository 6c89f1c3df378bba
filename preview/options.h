// The command line of the stand-in host.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "preview/host/host_controls.h"

namespace pixelforge::preview {

/// Paths are UTF-8 and as the user wrote them; empty means that the option was not given.
struct Options {
    std::string documentPath;
    std::string playlistPath;
    std::string shaderId;       ///< of the web service
    std::string forgetId;       ///< identifier whose cached document is removed first
    std::int32_t width = 1280;  ///< pixels
    std::int32_t height = 720;
    std::int32_t frames = 60;  ///< 0: until the window is closed
    std::string pngPath;
    std::string framesFolder;
    std::string reportPath;
    std::string includeFolder;
    std::string eventsPath;
    std::vector<ControlSetting> settings;  ///< those behind --tiles, --mirror and --foreground first
    std::int32_t levels = 0;               ///< level output with this divisor; 0: colours
    bool window = false;                   ///< the live view
    bool watch = false;
    bool check = false;  ///< load only
    bool bench = false;
    bool info = false;
    std::string helpText;  ///< not empty: show it and stop
};

/// Largest accepted width and height in pixels; a frame of that size still fits into memory.
inline constexpr std::int32_t kMaximumFrameSide = 16384;

/// Reads the arguments (UTF-8, without the program's name). Throws `HostError` with `WrongUsage`.
Options ParseOptions(const std::vector<std::string>& arguments);

}  // namespace pixelforge::preview
