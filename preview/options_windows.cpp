// Parses and validates the command line.
#include "preview/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <variant>

#include "base/bitmap.h"
#include "base/text.h"
#include "preview/host/file_paths.h"
#include "preview/host/host_error.h"
#include "preview/host/playlist_lines.h"
#include "preview/view/control_changes.h"

namespace pixelforge::preview {
namespace {

constexpr const char* kDescription =
    "Draws a shader with Pixelforge.dll the way its host application does.\n"
    "Exit status: 0 a frame was drawn, 1 the load or a frame failed, 2 invalid usage.";

/// --check only loads, so its single frame may be small.
constexpr SIZE kCheckSize = {64, 36};

/// Capacity of a playlist line.
constexpr std::size_t kMaximumIdentifier = 19;

[[noreturn]] void RejectUsage(const std::string& text) {
    throw HostError(ExitStatus::WrongUsage, text + "\nRun with --help for more information.");
}

/// The command line before validation.
struct Arguments : Options {
    UserPath document;
    UserPath playlist;
    std::string identifier;
    SIZE tiles = {};
    bool mirror = false;
    bool foreground = false;
    std::vector<std::string> assignments;
};

using Value =
    std::variant<bool Arguments::*, std::int32_t Arguments::*, double Arguments::*, SIZE Arguments::*,
                 std::string Arguments::*, UserPath Arguments::*, std::vector<std::string> Arguments::*>;

/// The runs in which an option has an effect.
enum class Use { Always, File, Frames, FramesOrShow, Window, Show, Video };

struct OptionRow {
    const char* name;
    const char* form;  ///< of the value, for --help; empty for a switch
    Value value;
    const char* help;
    Use use = Use::Always;
    std::int32_t most = 0;  ///< of a number or of both sides, from 1
};

constexpr OptionRow kOptions[] = {
    {"document", "SHADER", &Arguments::document, "Shader document (JSON) or plain shader (GLSL)"},
    {"--playlist", "FILE", &Arguments::playlist, "Pick a shader from this playlist instead"},
    {"--id", "IDENTIFIER", &Arguments::identifier, "Load this shader from the web service instead"},
    {"--forget", "IDENTIFIER", &Arguments::forgetId, "Remove this shader from the cache first"},
    {"--include", "DIR", &Arguments::includeFolder, "Folder for the shader's #include files"},

    {"--size", "WxH", &Arguments::size, "Frame size in pixels (default 1280x720)", Use::Always, kLargestSide},
    {"--frames", "N", &Arguments::frames, "Number of frames (default 60; in a window unlimited)", Use::Always,
     10'000'000},
    {"--real-time", "", &Arguments::realTime,
     "Let shader time follow the clock (default in a window, unless Speed is set)"},
    {"--set", "\"Label=value\"", &Arguments::assignments, "Set a control by its label; may be repeated"},
    {"--tiles", "XxY", &Arguments::tiles, "Number of tiles across and down, each 1 to 32", Use::Always, 32},
    {"--mirror", "", &Arguments::mirror, "Mirror every second tile"},
    {"--foreground", "", &Arguments::foreground, "Draw only non-black pixels over the host's picture"},
    {"--levels", "N", &Arguments::levels, "Output brightness (R+G+B)/N, N 1 to 765, instead of colours",
     Use::Always, 765},
    {"--events", "FILE", &Arguments::events, "Play scripted keys, mouse input and resizing"},

    {"--window", "", &Arguments::window, "Show the frames in a window; F1 lists its keys"},
    {"--watch", "", &Arguments::watch, "Like --window, and reload when a file of the shader changes",
     Use::File},
    {"--fullscreen", "", &Arguments::fullScreen, "Like --window, on the whole screen; Alt+Enter leaves it"},
    {"--monitor", "N", &Arguments::monitor, "Monitor of the window, from 1", Use::Window, 64},
    {"--scale", "S", &Arguments::scale, "Frame size by window size, 0.0625 to 4 (default 1)", Use::Window},
    {"--every", "SECONDS", &Arguments::secondsPerPick,
     "In a window, show the playlist's next shader after this time", Use::Show, 86'400},
    {"--favourites", "FILE", &Arguments::favourites,
     "Playlist that Insert adds to (default favourites.txt beside the playlist)", Use::Show},

    {"--png", "FILE", &Arguments::png, "Write the last frame as a PNG; with --bench a graph of the times"},
    {"--frames-dir", "DIR", &Arguments::framesFolder, "Write every frame as a PNG to this folder",
     Use::Frames},
    {"--report", "FILE", &Arguments::report, "Write results, times and messages as JSON", Use::FramesOrShow},
    {"--video", "FILE|-", &Arguments::video,
     "Write all frames as uncompressed video (Y4M); - is standard output", Use::Frames},
    {"--rate", "N", &Arguments::framesPerSecond, "Frames per second of the video, 1 to 1000 (default 60)",
     Use::Video, 1000},
    {"--pack", "FILE.json", &Arguments::packed, "Draw nothing; write the shader's document", Use::File},
    {"--bench", "", &Arguments::bench, "Print a table of frame times", Use::Frames},
    {"--check", "", &Arguments::check, "Only load the shader; print errors with line numbers", Use::Frames},
    {"--info", "", &Arguments::info, "Print the notice about the shader", Use::Frames},
};

SIZE ReadSides(const std::string& text, const OptionRow& row) {
    int across = 0;
    int down = 0;
    int length = 0;
    const int count = std::sscanf(text.c_str(), "%5dx%5d%n", &across, &down, &length);
    if (count != 2 || text[static_cast<std::size_t>(length)] != '\0' || std::min(across, down) < 1 ||
        std::max(across, down) > row.most) {
        RejectUsage(std::string(row.name) + ": \"" + text +
                    "\" is not of the form NxN with numbers from 1 to " + std::to_string(row.most));
    }
    return {across, down};
}

CLI::Option* Declare(CLI::App& app, const OptionRow& row, bool& value) {
    return app.add_flag(row.name, value, row.help);
}

CLI::Option* Declare(CLI::App& app, const OptionRow& row, std::int32_t& value) {
    return app.add_option(row.name, value, row.help)->check(CLI::Range(1, row.most).description(""));
}

CLI::Option* Declare(CLI::App& app, const OptionRow& row, SIZE& value) {
    const auto read = [&](const std::string& text) { value = ReadSides(text, row); };
    return app.add_option_function<std::string>(row.name, read, row.help);
}

CLI::Option* Declare(CLI::App& app, const OptionRow& row, UserPath& value) {
    const auto read = [&value](const std::string& name) { value = {name, AbsolutePath(name)}; };
    return app.add_option_function<std::string>(row.name, read, row.help);
}

CLI::Option* Declare(CLI::App& app, const OptionRow& row, std::vector<std::string>& values) {
    const auto add = [&values](const std::string& text) { values.push_back(text); };
    return app.add_option_function<std::string>(row.name, add, row.help)->trigger_on_parse();
}

template <class Scalar>
CLI::Option* Declare(CLI::App& app, const OptionRow& row, Scalar& value) {
    return app.add_option(row.name, value, row.help);
}

void DeclareOptions(CLI::App& app, Arguments& given) {
    for (const OptionRow& row : kOptions) {
        CLI::Option* option =
            std::visit([&](auto member) { return Declare(app, row, given.*member); }, row.value);
        if (*row.form) {
            option->type_name(row.form);
        }
    }
}

void ChooseSource(const Arguments& given, Options& options) {
    for (const auto& [kind, source] : {std::pair(SourceKind::File, given.document),
                                       {SourceKind::Playlist, given.playlist},
                                       {SourceKind::Identifier, {given.identifier}}}) {
        if (source.name.empty()) {
            continue;
        }
        if (options.kind != SourceKind::None) {
            RejectUsage("specify only one of shader file, --playlist and --id");
        }
        options.kind = kind;
        options.source = source;
    }
    if (options.kind == SourceKind::None && options.forgetId.empty()) {
        RejectUsage("specify a shader file, --playlist or --id");
    }
}

/// The module reads playlists in the ANSI code page.
void RequirePlaylistLine(const char* option, const std::string& identifier) {
    const std::wstring line = FromUtf8(identifier);
    const auto narrow = Narrow(line, TextEncoding::AnsiCodePage);
    const bool exact = narrow && Widen(*narrow, TextEncoding::AnsiCodePage) == line;
    if (!exact || line.size() > kMaximumIdentifier || line.find_first_of(L"\r\n") != line.npos) {
        RejectUsage(std::string(option) + ": \"" + identifier + "\" is not an identifier of at most " +
                    std::to_string(kMaximumIdentifier) + " characters of the system's ANSI code page");
    }
}

void RequireEffects(const CLI::App& app, const Options& options) {
    const bool show = options.window && options.kind == SourceKind::Playlist;
    const std::pair<bool, const char*> faults[] = {
        // in the order of `Use`
        {false, ""},
        {options.kind != SourceKind::File, " needs a shader file"},
        {options.window, " cannot be combined with --window, --fullscreen or --watch"},
        {options.window && !show, " can be combined with --window only for a --playlist"},
        {!options.window, " needs --window, --fullscreen or --watch"},
        {!show, " needs --playlist and --window"},
        {options.video.name.empty(), " needs --video"}};
    for (const OptionRow& row : kOptions) {
        const auto& [faulty, reason] = faults[static_cast<std::size_t>(row.use)];
        if (faulty && app.count(row.name) > 0) {
            RejectUsage(std::string(row.name) + reason);
        }
    }
    if (!(options.scale >= kSmallestScale && options.scale <= kLargestScale)) {
        RejectUsage("--scale: the number must be from 0.0625 to 4");
    }
    const std::string& packed = options.packed.name;
    if (!packed.empty() && (app.parse_order().size() > 2 || !packed.ends_with(".json"))) {
        RejectUsage("--pack needs a name that ends in .json, and allows no other option");
    }
}

/// --tiles without --mirror switches mirroring off, although the control's default is on.
void AddSettings(const Arguments& given, std::vector<ControlSetting>& settings) {
    const bool tiled = given.tiles.cx != 0;
    if (tiled) {
        settings.push_back({"X Tiling", std::to_string(given.tiles.cx)});
        settings.push_back({"Y Tiling", std::to_string(given.tiles.cy)});
    }
    if (given.mirror || tiled) {
        settings.push_back({"Mirroring", given.mirror ? "true" : "false"});
    }
    if (given.foreground) {
        settings.push_back({"Foreground Only", "true"});
    }
    for (const std::string& text : given.assignments) {
        const std::size_t equals = text.find('=');
        if (equals == std::string::npos || equals == 0) {
            RejectUsage("--set: \"" + text + "\" is not of the form Label=value");
        }
        settings.push_back({text.substr(0, equals), text.substr(equals + 1)});
    }
}

/// A fixed step and the clock exclude each other. A video has the step of its rate.
void ChooseTime(Options& options) {
    const bool fixedStep =
        std::ranges::any_of(options.settings, [](auto& set) { return set.label == "Speed"; });
    const bool video = !options.video.name.empty();
    if (options.realTime && (fixedStep || video)) {
        RejectUsage("--real-time cannot be combined with --set \"Speed=...\" or --video");
    }
    options.realTime = options.realTime || (options.window && !fixedStep);
    if (video && (options.size.cx % 2 != 0 || options.size.cy % 2 != 0)) {
        RejectUsage("--video needs an even width and height, because two by two pixels share their colour");
    }
    if (video && !fixedStep) {
        char step[32];
        std::snprintf(step, sizeof step, "%.9g", 1.0 / options.framesPerSecond);
        options.settings.push_back({"Speed", step});
    }
}

Options Validate(const CLI::App& app, const Arguments& given) {
    Options options = given;
    options.window = options.window || options.watch || options.fullScreen;
    ChooseSource(given, options);
    RequirePlaylistLine("--id", given.identifier);
    RequirePlaylistLine("--forget", options.forgetId);
    RequireEffects(app, options);
    if (options.check && app.count("--size") == 0) {
        options.size = kCheckSize;
    }
    if (app.count("--frames") == 0) {
        options.frames = options.window ? 0 : options.check || options.info ? 1 : options.frames;
    }
    AddSettings(given, options.settings);
    ChooseTime(options);
    return options;
}

bool HasExtension(const std::wstring& path, std::initializer_list<const wchar_t*> extensions) {
    const std::wstring own = std::filesystem::path(path).extension();
    return std::ranges::any_of(extensions, [&](auto* one) { return _wcsicmp(one, own.c_str()) == 0; });
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

std::string CommandOf(const Options& options) {
    const char* const option = options.kind == SourceKind::Identifier ? "--id "
                               : options.kind == SourceKind::Playlist ? "--playlist "
                                                                      : "";
    const std::string& include = options.includeFolder.name;
    return std::string("preview ") + option + QuotedArgument(options.source.name) +
           (include.empty() ? std::string() : " --include " + QuotedArgument(include));
}

Options OptionsForFile(const Options& options, const std::wstring& path, const ViewState& state) {
    const std::string bytes = ReadInputFile(path);
    Options next = options;
    static_cast<ViewState&>(next) = state;
    if (HasExtension(path, {L".png", L".jpg", L".jpeg", L".bmp", L".gif", L".tif", L".tiff"})) {
        if (options.kind != SourceKind::File) {
            throw HostError(ExitStatus::WrongUsage,
                            "a picture needs a shader from a file, which reads it on iChannel0");
        }
        next.picturePath = ToUtf8(path);
        return next;
    }
    const bool playlist = HasExtension(path, {L".playlist", L".txt"});
    if (playlist && SplitPlaylist(bytes).empty()) {
        throw HostError(ExitStatus::WrongUsage, "the playlist has no line that ends in a line break");
    }
    next.picturePath.clear();
    next.kind = playlist ? SourceKind::Playlist : SourceKind::File;
    next.source = {ToUtf8(path), path};
    return next;
}

}  // namespace pixelforge::preview
