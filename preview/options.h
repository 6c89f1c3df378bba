// The command line of the stand-in host.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "preview/host/file_paths.h"
#include "preview/view/view_window.h"

namespace pixelforge::preview {

enum class SourceKind { None, File, Playlist, Identifier };

inline constexpr const char* kStandardOutput = "-";

/// `settings` holds those of --tiles, --mirror and --foreground first.
struct Options : ViewState {
    SourceKind kind = SourceKind::None;
    UserPath source;           ///< for an identifier at the web service only the name
    std::string forgetId;      ///< identifier of the shader to remove from the cache first
    std::int32_t frames = 60;  ///< 0: until the window is closed
    UserPath png;
    UserPath framesFolder;
    UserPath report;
    UserPath video;                     ///< `kStandardOutput` or a file
    std::int32_t framesPerSecond = 60;  ///< of the video
    std::int32_t secondsPerPick = 0;    ///< of a playlist in the window; 0: until a key is pressed
    UserPath includeFolder;
    UserPath events;
    UserPath packed;      ///< only write the shader's document
    bool window = false;  ///< the live view
    bool watch = false;
    std::string picturePath;  ///< dropped on the window: on channel 0 of the shader's image
    bool check = false;       ///< only load
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
