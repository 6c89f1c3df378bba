// The command line of the stand-in host.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "preview/host/host_controls.h"
#include "preview/host/host_window.h"
#include "preview/view/live_view.h"

namespace pixelforge::preview {

/// Paths are UTF-8 as the user wrote them; empty if the option is missing.
struct Options {
    std::string documentPath;
    std::string playlistPath;
    std::string shaderId;       ///< identifier at the web service
    std::string forgetId;       ///< identifier of the shader to remove from the cache first
    std::int32_t width = 1280;  ///< pixels
    std::int32_t height = 720;
    std::int32_t frames = 60;  ///< 0: until the window is closed
    std::string pngPath;
    std::string framesFolder;
    std::string reportPath;
    std::string videoPath;              ///< "-": standard output
    std::int32_t framesPerSecond = 60;  ///< of the video
    std::string favouritesPath;
    std::int32_t secondsPerPick = 0;  ///< of a playlist in the window; 0: until a key is pressed
    std::string includeFolder;
    std::string eventsPath;
    std::string packPath;                  ///< only write the shader's document
    std::vector<ControlSetting> settings;  ///< those of --tiles, --mirror and --foreground first
    std::int32_t levels = 0;               ///< divisor of level output; 0: colours
    bool realTime = false;                 ///< "Speed" is the time since the previous frame
    bool window = false;                   ///< the live view
    bool fullScreen = false;
    std::int32_t monitor = 0;          ///< from 1; 0: the system's choice
    double scale = 1.0;                ///< of the live view's frames
    std::optional<WindowPlace> place;  ///< of the window that this run replaces
    std::string picturePath;           ///< dropped on the window: on channel 0 of the shader's image
    bool watch = false;
    bool check = false;  ///< only load
    bool bench = false;
    bool info = false;
    std::string helpText;  ///< if not empty, print it and exit
};

/// What a run writes, in the order of `kOutputs`.
enum class Output { Picture, Frames, Report, Video, Favourites };

/// Before the first frame the missing folders of the path are created, and it is tested for writing.
struct OutputRow {
    const char* option;
    std::string Options::*path;
    bool folder;
};

inline constexpr OutputRow kOutputs[] = {
    {"--png", &Options::pngPath, false},
    {"--frames-dir", &Options::framesFolder, true},
    {"--report", &Options::reportPath, false},
    {"--video", &Options::videoPath, false},
    {"--favourites", &Options::favouritesPath, false},
};

/// Parses the arguments (UTF-8, without the program's name). Throws `HostError` with `WrongUsage`.
Options ParseOptions(const std::vector<std::string>& arguments);

}  // namespace pixelforge::preview
