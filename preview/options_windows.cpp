// Parses and validates the command line.
#include "preview/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cstdio>
#include <optional>
#include <variant>

#include "base/bitmap.h"
#include "base/text.h"
#include "preview/host/file_paths.h"
#include "preview/host/host_error.h"
#include "preview/view/control_changes.h"

namespace pixelforge::preview {
namespace {

constexpr const char* kDescription =
    "Draws a shader with Pixelforge.dll the way its host application does.\n"
    "Exit status: 0 a frame was drawn, 1 the load or a frame failed, 2 invalid usage.";

constexpr std::int32_t kMaximumTiles = 32;

/// --check only loads, so its single frame may be small.
constexpr std::int32_t kCheckWidth = 64;
constexpr std::int32_t kCheckHeight = 36;

[[noreturn]] void RejectUsage(const std::string& text) {
    throw HostError(ExitStatus::WrongUsage, text + "\nRun with --help for more information.");
}

struct Sides {
    std::int32_t across;
    std::int32_t down;
};

std::optional<std::int32_t> ParseSide(std::string_view text, std::int32_t most) {
    std::int32_t side = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), side);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return side >= 1 && side <= most ? std::optional(side) : std::nullopt;
}

Sides ReadSides(const std::string& text, const std::string& option, std::int32_t most) {
    const std::size_t cross = text.find('x');
    const auto across = ParseSide(std::string_view(text).substr(0, cross), most);
    const auto down = cross == std::string::npos ? std::nullopt : ParseSide(text.substr(cross + 1), most);
    if (!across || !down) {
        RejectUsage(option + ": \"" + text + "\" is not of the form NxN with numbers from 1 to " +
                    std::to_string(most));
    }
    return {*across, *down};
}

ControlSetting ReadSetting(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0) {
        RejectUsage("--set: \"" + text + "\" is not of the form Label=value");
    }
    return {text.substr(0, equals), text.substr(equals + 1)};
}

/// Capacity of a playlist line.
constexpr std::size_t kMaximumIdentifier = 19;

/// The module reads playlists in the ANSI code page.
void RequirePlaylistLine(const std::string& option, const std::string& identifier) {
    const std::wstring line = FromUtf8(identifier);
    const auto narrow = Narrow(line, TextEncoding::AnsiCodePage);
    const bool exact = narrow && Widen(*narrow, TextEncoding::AnsiCodePage) == line;
    if (!exact || line.size() > kMaximumIdentifier || line.find_first_of(L"\r\n") != line.npos) {
        RejectUsage(option + ": \"" + identifier + "\" is not an identifier of at most " +
                    std::to_string(kMaximumIdentifier) + " characters of the system's ANSI code page");
    }
}

void RequireOneSource(const Options& options) {
    const int sources =
        !options.documentPath.empty() + !options.playlistPath.empty() + !options.shaderId.empty();
    if (sources == 0 && options.forgetId.empty()) {
        RejectUsage("specify a shader file, --playlist or --id");
    }
    if (sources > 1) {
        RejectUsage("specify only one of shader file, --playlist and --id");
    }
    RequirePlaylistLine("--id", options.shaderId);
    RequirePlaylistLine("--forget", options.forgetId);
}

/// The command line before validation.
struct Arguments : Options {
    std::string size;
    std::string tiles;
    bool mirror = false;
    bool foreground = false;
    std::vector<std::string> assignments;
};

using Value = std::variant<bool Arguments::*, std::int32_t Arguments::*, double Arguments::*,
                           std::string Arguments::*, std::vector<std::string> Arguments::*>;

struct Range {
    std::int32_t least = 0;
    std::int32_t most = 0;  ///< 0: no range
};

struct OptionRow {
    const char* name;
    const char* form;  ///< of the value, for --help; empty for a switch
    Value value;
    const char* help;
    Range range = {};
};

constexpr OptionRow kOptions[] = {
    {"document", "SHADER", &Arguments::documentPath, "Shader document (JSON) or plain shader (GLSL)"},
    {"--playlist", "FILE", &Arguments::playlistPath, "Pick a shader from this playlist instead"},
    {"--id", "IDENTIFIER", &Arguments::shaderId, "Load this shader from the web service instead"},
    {"--forget", "IDENTIFIER", &Arguments::forgetId, "Remove this shader from the cache first"},
    {"--include", "DIR", &Arguments::includeFolder, "Folder for the shader's #include files"},

    {"--size", "WxH", &Arguments::size, "Frame size in pixels (default 1280x720)"},
    {"--frames",
     "N",
     &Arguments::frames,
     "Number of frames (default 60; in a window unlimited)",
     {1, 10'000'000}},
    {"--real-time", "", &Arguments::realTime,
     "Let shader time follow the clock (default in a window, unless Speed is set)"},
    {"--set", "\"Label=value\"", &Arguments::assignments, "Set a control by its label; may be repeated"},
    {"--tiles", "XxY", &Arguments::tiles, "Number of tiles across and down"},
    {"--mirror", "", &Arguments::mirror, "Mirror every second tile"},
    {"--foreground", "", &Arguments::foreground, "Draw only non-black pixels over the host's picture"},
    {"--levels", "N", &Arguments::levels, "Output brightness (R+G+B)/N instead of colours", {1, 765}},
    {"--events", "FILE", &Arguments::eventsPath, "Play scripted keys, mouse input and resizing"},

    {"--window", "", &Arguments::window, "Show the frames in a window; F1 lists its keys"},
    {"--watch", "", &Arguments::watch, "Like --window, and reload when a file of the shader changes"},
    {"--fullscreen", "", &Arguments::fullScreen, "Like --window, on the whole screen; Alt+Enter leaves it"},
    {"--monitor", "N", &Arguments::monitor, "Monitor of the window, from 1", {1, 64}},
    {"--scale", "S", &Arguments::scale, "Frame size by window size, 0.0625 to 4 (default 1)"},
    {"--every",
     "SECONDS",
     &Arguments::secondsPerPick,
     "In a window, show the playlist's next shader after this time",
     {1, 86'400}},
    {"--favourites", "FILE", &Arguments::favouritesPath,
     "Playlist that Insert adds to (default favourites.txt beside the playlist)"},
    {"--png", "FILE", &Arguments::pngPath,
     "Write the last frame as a PNG; with --bench a graph of the times"},
    {"--frames-dir", "DIR", &Arguments::framesFolder, "Write every frame as a PNG to this folder"},
    {"--report", "FILE", &Arguments::reportPath, "Write results, times and messages as JSON"},
    {"--video", "FILE|-", &Arguments::videoPath,
     "Write all frames as uncompressed video (Y4M); - is standard output"},
    {"--rate", "N", &Arguments::framesPerSecond, "Frames per second of the video (default 60)", {1, 1000}},
    {"--pack", "FILE.json", &Arguments::packPath, "Draw nothing; write the shader's document"},
    {"--bench", "", &Arguments::bench, "Print a table of frame times"},
    {"--check", "", &Arguments::check, "Only load the shader; print errors with line numbers"},
    {"--info", "", &Arguments::info, "Print the notice about the shader"},
};

/// The live view has no end to report on. With a playlist, --report lists what failed.
constexpr const char* kNotInWindow[] = {"--frames-dir", "--report", "--bench",
                                        "--check",      "--info",   "--video"};
constexpr const char* kOnlyWithPlaylistInWindow[] = {"--every", "--favourites"};

constexpr const char* kOnlyInWindow[] = {"--monitor", "--scale"};

/// Packing draws nothing.
constexpr const char* kNotWithPack[] = {"--window", "--fullscreen", "--watch", "--png",  "--frames-dir",
                                        "--report", "--bench",      "--check", "--info", "--video"};

CLI::Option* Declare(CLI::App& app, const OptionRow& row, bool& value) {
    return app.add_flag(row.name, value, row.help);
}

template <class Scalar>
CLI::Option* Declare(CLI::App& app, const OptionRow& row, Scalar& value) {
    return app.add_option(row.name, value, row.help);
}

CLI::Option* Declare(CLI::App& app, const OptionRow& row, std::vector<std::string>& values) {
    return app.add_option(row.name, values, row.help)
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

void DeclareOptions(CLI::App& app, Arguments& given) {
    for (const OptionRow& row : kOptions) {
        CLI::Option* option =
            std::visit([&](auto member) { return Declare(app, row, given.*member); }, row.value);
        if (*row.form) {
            option->type_name(row.form);
        }
        if (row.range.most != 0) {
            option->check(CLI::Range(row.range.least, row.range.most));
        }
    }
}

void RequireOneOutcome(const CLI::App& app, const Options& options) {
    const bool playsList = options.window && !options.playlistPath.empty();
    for (const std::string name : kNotInWindow) {
        if (options.window && app.count(name) > 0 && !(playsList && name == "--report")) {
            RejectUsage(name + " cannot be combined with --window, --fullscreen or --watch" +
                        (name == "--report" ? " except with --playlist" : ""));
        }
    }
    for (const std::string name : kOnlyWithPlaylistInWindow) {
        if (!playsList && app.count(name) > 0) {
            RejectUsage(name + " needs --playlist and --window");
        }
    }
    for (const char* name : kOnlyInWindow) {
        if (!options.window && app.count(name) > 0) {
            RejectUsage(std::string(name) + " needs --window, --fullscreen or --watch");
        }
    }
    if (!(options.scale >= kSmallestScale && options.scale <= kLargestScale)) {
        RejectUsage("--scale: the number must be from 0.0625 to 4");
    }
    const bool drawn = std::ranges::any_of(kNotWithPack, [&](auto name) { return app.count(name) > 0; });
    if (!options.packPath.empty() && (drawn || options.documentPath.empty())) {
        RejectUsage("--pack needs a shader file and draws nothing");
    }
    if (!options.packPath.empty() && !options.packPath.ends_with(".json")) {
        RejectUsage("--pack: the document's name must end in .json");
    }
    if (options.watch && options.documentPath.empty()) {
        RejectUsage("--watch needs a shader file");
    }
}

/// --tiles without --mirror switches mirroring off, although the control's default is on.
void AddOutputSettings(const Arguments& given, std::vector<ControlSetting>& settings) {
    if (!given.tiles.empty()) {
        const Sides tiles = ReadSides(given.tiles, "--tiles", kMaximumTiles);
        settings.push_back({"X Tiling", std::to_string(tiles.across)});
        settings.push_back({"Y Tiling", std::to_string(tiles.down)});
        settings.push_back({"Mirroring", given.mirror ? "true" : "false"});
    } else if (given.mirror) {
        settings.push_back({"Mirroring", "true"});
    }
    if (given.foreground) {
        settings.push_back({"Foreground Only", "true"});
    }
}

/// A fixed step and the clock exclude each other. A video has the step of its rate.
void ChooseTime(const CLI::App& app, Options& options) {
    const bool fixedStep =
        std::ranges::any_of(options.settings, [](auto& set) { return set.label == "Speed"; });
    if (options.realTime && fixedStep) {
        RejectUsage("specify only one of --real-time and --set \"Speed=...\"");
    }
    options.realTime = options.realTime || (options.window && !fixedStep);
    if (options.videoPath.empty()) {
        if (app.count("--rate") > 0) {
            RejectUsage("--rate needs --video");
        }
        return;
    }
    if (options.realTime) {
        RejectUsage("specify only one of --real-time and --video");
    }
    if (options.width % 2 != 0 || options.height % 2 != 0) {
        RejectUsage("--video needs an even width and height, because two by two pixels share their colour");
    }
    if (!fixedStep) {
        char step[32];
        std::snprintf(step, sizeof step, "%.9g", 1.0 / options.framesPerSecond);
        options.settings.push_back({"Speed", step});
    }
}

void ChooseSize(const Arguments& given, Options& options) {
    if (!given.size.empty()) {
        const Sides sides = ReadSides(given.size, "--size", kLargestSide);
        options.width = sides.across;
        options.height = sides.down;
    } else if (options.check) {
        options.width = kCheckWidth;
        options.height = kCheckHeight;
    }
}

Options Validate(const CLI::App& app, const Arguments& given) {
    Options options = given;
    options.window = options.window || options.watch || options.fullScreen;
    RequireOneSource(options);
    RequireOneOutcome(app, options);
    ChooseSize(given, options);
    if (app.count("--frames") == 0) {
        options.frames = options.window ? 0 : options.check || options.info ? 1 : options.frames;
    }
    AddOutputSettings(given, options.settings);
    for (const std::string& assignment : given.assignments) {
        options.settings.push_back(ReadSetting(assignment));
    }
    ChooseTime(app, options);
    return options;
}

}  // namespace

Options ParseOptions(const std::vector<std::string>& arguments) {
    Arguments given;
    CLI::App app(kDescription, "preview");
    // Otherwise a path that begins with a slash would be parsed as an option.
    app.allow_windows_style_options(false);
    DeclareOptions(app, given);
    try {
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::CallForHelp&) {
        given.helpText = app.help();
        return given;
    } catch (const CLI::ParseError& error) {
        RejectUsage(error.what());
    }
    return Validate(app, given);
}

}  // namespace pixelforge::preview
