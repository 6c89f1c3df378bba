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

/// As the user wrote it (UTF-8), for messages, and absolute, because the current folder changes to the
/// shader's. Both are empty if the option is missing.
struct UserPath {
    std::string name = {};
    std::wstring path = {};
};

enum class SourceKind { None, File, Playlist, Identifier };

/// The path that stands for standard output.
inline constexpr const char* kStandardOutput = "-";

struct Options {
    SourceKind kind = SourceKind::None;
    UserPath source;           ///< for an identifier at the web service only the name
    std::string forgetId;      ///< identifier of the shader to remove from the cache first
    SIZE size = {1280, 720};   ///< pixels
    std::int32_t frames = 60;  ///< 0: until the window is closed
    UserPath png;
    UserPath framesFolder;
    UserPath report;
    UserPath video;                     ///< `kStandardOutput` or a file
    std::int32_t framesPerSecond = 60;  ///< of the video
    UserPath favourites;
    std::int32_t secondsPerPick = 0;  ///< of a playlist in the window; 0: until a key is pressed
    UserPath includeFolder;
    UserPath events;
    UserPath packed;                       ///< only write the shader's document
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

/// Parses the arguments (UTF-8, without the program's name). Throws `HostError` with `WrongUsage`.
Options ParseOptions(const std::vector<std::string>& arguments);

/// The command line that opens the shader, without its settings.
std::string CommandOf(const Options& options);

/// For the view that follows when this file is dropped on the window: a playlist, a picture for channel 0 of
/// the current shader, or else a shader. Throws `HostError` if the file cannot be used.
Options OptionsForFile(const Options& options, const std::wstring& path, const ViewState& state);

}  // namespace pixelforge::preview
