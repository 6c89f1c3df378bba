// Parses and validates the command line.
#include "preview/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <regex>
#include <variant>

#include "base/bitmap.h"
#include "base/text.h"
#include "preview/host/host_error.h"
#include "preview/host/playlist_lines.h"
#include "preview/view/control_changes.h"

namespace pixelforge::preview {
namespace {

constexpr const char* kDescription =
    "Draws a shader with Pixelforge.dll the way its host application does.\n"
    "Exit status: 0 a frame was drawn, 1 the load or a frame failed, 2 invalid usage.";

[[noreturn]] void RejectUsage(const std::string& text) {
    throw HostError(ExitStatus::WrongUsage, text + "\nRun with --help for more information.");
}

struct Given : Options {
    UserPath document;
    UserPath playlist;
    std::string identifier;
    SIZE tiles = {};
    bool mirror = false;
    bool foreground = false;
    std::vector<std::string> assignments;
};

using Value = std::variant<bool Given::*, std::int32_t Given::*, double Given::*, SIZE Given::*,
                           std::string Given::*, UserPath Given::*, std::vector<std::string> Given::*>;

/// The runs in which an option has an effect.
enum class Use { Always, File, Frames, FramesOrShow, Window, Show, Video };
using enum Use;

struct OptionRow {
    const char* name;
    const char* form;  ///< of the value, for --help; empty for a switch
    Value value;
    const char* help;
    Use use = Always;
    std::int32_t most = 0;  ///< of a number or of both sides, from 1
};

constexpr OptionRow kOptions[] = {
    {"document", "SHADER", &Given::document, "Shader document (JSON) or plain shader (GLSL)"},
    {"--playlist", "FILE", &Given::playlist, "Pick a shader from this playlist instead"},
    {"--id", "IDENTIFIER", &Given::identifier, "Load this shader from the web service instead"},
    {"--forget", "IDENTIFIER", &Given::forgetId, "Remove this shader from the cache first"},
    {"--include", "DIR", &Given::includeFolder, "Folder for the shader's #include files"},

    {"--size", "WxH", &Given::size, "Frame size in pixels (default 1280x720)", Always, kLargestSide},
    {"--frames", "N", &Given::frames, "Frames (default 60, in a window any number)", Always, 10'000'000},
    {"--real-time", "", &Given::realTime, "Shader time follows the clock (default in a window)"},
    {"--set", "\"Label=value\"", &Given::assignments, "Set a control by its label; may be repeated"},
    {"--tiles", "XxY", &Given::tiles, "Number of tiles across and down, each 1 to 32", Always, 32},
    {"--mirror", "", &Given::mirror, "Mirror every second tile"},
    {"--foreground", "", &Given::foreground, "Draw only non-black pixels over the host's picture"},
    {"--levels", "N", &Given::levels, "Output (R+G+B)/N, N up to 765, not colours", Always, 765},
    {"--events", "FILE", &Given::events, "Play scripted keys, mouse input and resizing"},

    {"--window", "", &Given::window, "Show the frames in a window; F1 lists its keys"},
    {"--watch", "", &Given::watch, "Like --window; reload when a file changes", File},
    {"--fullscreen", "", &Given::fullScreen, "Like --window, on the whole screen; Alt+Enter leaves it"},
    {"--monitor", "N", &Given::monitor, "Monitor of the window, from 1", Window, 64},
    {"--scale", "S", &Given::scale, "Frame size by window size, 0.0625 to 4 (default 1)", Window},
    {"--every", "SECONDS", &Given::secondsPerPick, "Time of each shader of the playlist", Show, 86'400},

    {"--png", "FILE", &Given::png, "Write the last frame as a PNG; with --bench a graph of the times"},
    {"--frames-dir", "DIR", &Given::framesFolder, "Write every frame as a PNG to this folder", Frames},
    {"--report", "FILE", &Given::report, "Write results, times and messages as JSON", FramesOrShow},
    {"--video", "FILE|-", &Given::video, "Write video (Y4M); - is standard output", Frames},
    {"--rate", "N", &Given::framesPerSecond, "Frames a second of the video, up to 1000", Video, 1000},
    {"--pack", "FILE.json", &Given::packed, "Draw nothing; write the shader's document", File},
    {"--bench", "", &Given::bench, "Print a table of frame times", Frames},
    {"--check", "", &Given::check, "Only load the shader; print errors with line numbers", Frames},
    {"--info", "", &Given::info, "Print the notice about the shader", Frames},
};

SIZE ReadSides(const std::string& text, const OptionRow& row) {
    int across = 0;
    int down = 0;
    int length = 0;
    const int count = std::sscanf(text.c_str(), "%5dx%5d%n", &across, &down, &length);
    if (count != 2 || text[static_cast<std::size_t>(length)] != '\0' || std::min(across, down) < 1 ||
        std::max(across, down) > row.most) {
        RejectUsage(std::string(row.name) + ": \"" + text + "\" is not of the form " + row.form +
                    " with numbers from 1 to " + std::to_string(row.most));
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

template <class Scalar>
CLI::Option* Declare(CLI::App& app, const OptionRow& row, Scalar& value) {
    return app.add_option(row.name, value, row.help)->allow_extra_args(false);
}

void DeclareOptions(CLI::App& app, Given& given) {
    const auto fault = [](const std::string& text) { return text.empty() ? "the value is empty" : ""; };
    for (const OptionRow& row : kOptions) {
        CLI::Option* option =
            std::visit([&](auto member) { return Declare(app, row, given.*member); }, row.value);
        option->check(fault);
        if (*row.form) {
            option->type_name(row.form);
        }
    }
}

void ChooseSource(const Given& given, Options& options) {
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
    if (!exact || line.size() > kLongestPlaylistLine || line.find_first_of(L"\r\n") != line.npos) {
        RejectUsage(std::string(option) + ": \"" + identifier + "\" is not an identifier of at most " +
                    std::to_string(kLongestPlaylistLine) + " characters of the system's ANSI code page");
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
void AddSettings(const Given& given, std::vector<ControlSetting>& settings) {
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

Options Validate(const CLI::App& app, const Given& given) {
    Options options = given;
    options.window = options.window || options.watch || options.fullScreen;
    ChooseSource(given, options);
    RequirePlaylistLine("--id", given.identifier);
    RequirePlaylistLine("--forget", options.forgetId);
    RequireEffects(app, options);
    if (options.check && app.count("--size") == 0) {
        options.size = {64, 36};  // it only loads
    }
    if (app.count("--frames") == 0) {
        options.frames = options.window ? 0 : options.check || options.info ? 1 : options.frames;
    }
    AddSettings(given, options.settings);
    ChooseTime(options);
    return options;
}

}  // namespace

Options ParseOptions(const std::vector<std::string>& arguments) {
    Given given;
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
    const std::wstring extension = std::filesystem::path(path).extension();
    const auto isAnyOf = [&](const wchar_t* pattern) {
        return std::regex_match(extension, std::wregex(pattern, std::regex::icase));
    };
    if (isAnyOf(L"\\.(png|jpe?g|bmp|gif|tiff?)")) {
        if (options.kind != SourceKind::File) {
            throw HostError(ExitStatus::WrongUsage, "a picture needs a shader from a file");
        }
        next.picturePath = ToUtf8(path);
        return next;
    }
    const bool playlist = isAnyOf(L"\\.(playlist|txt)");
    if (playlist && SplitPlaylist(bytes).empty()) {
        throw HostError(ExitStatus::WrongUsage, "the playlist has no line that ends in a line break");
    }
    next.picturePath.clear();
    next.kind = playlist ? SourceKind::Playlist : SourceKind::File;
    next.source = {ToUtf8(path), path};
    return next;
}

}  // namespace pixelforge::preview
