// Parses and validates the command line.
#include "preview/options.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <optional>

#include "base/bitmap.h"
#include "base/text.h"
#include "preview/host/host_error.h"

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
struct Arguments {
    Options options;
    std::string size;
    std::string tiles;
    bool mirror = false;
    bool foreground = false;
    std::vector<std::string> settings;
    CLI::Option* frames = nullptr;
};

void AddSource(CLI::App& app, Arguments& given) {
    Options& options = given.options;
    app.add_option("document", options.documentPath, "Shader document (JSON) or plain shader (GLSL)")
        ->type_name("SHADER");
    app.add_option("--playlist", options.playlistPath, "Pick a shader from this playlist instead")
        ->type_name("FILE");
    app.add_option("--id", options.shaderId, "Load this shader from the web service instead")
        ->type_name("IDENTIFIER");
    app.add_option("--forget", options.forgetId, "Remove this shader from the cache first")
        ->type_name("IDENTIFIER");
    app.add_option("--include", options.includeFolder, "Folder for the shader's #include files")
        ->type_name("DIR");
}

void AddFrame(CLI::App& app, Arguments& given) {
    Options& options = given.options;
    app.add_option("--size", given.size, "Frame size in pixels (default 1280x720)")->type_name("WxH");
    given.frames =
        app.add_option("--frames", options.frames, "Number of frames (default 60; in a window unlimited)")
            ->type_name("N")
            ->check(CLI::Range(1, 10'000'000));
    app.add_option("--set", given.settings, "Set a control by its label; may be repeated")
        ->type_name("\"Label=value\"")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.add_option("--tiles", given.tiles, "Number of tiles across and down")->type_name("XxY");
    app.add_flag("--mirror", given.mirror, "Mirror every second tile");
    app.add_flag("--foreground", given.foreground, "Draw only non-black pixels over the host's picture");
    app.add_option("--levels", options.levels, "Output brightness (R+G+B)/N instead of colours")
        ->type_name("N")
        ->check(CLI::Range(1, 765));
    app.add_option("--events", options.eventsPath, "Play scripted keys, mouse input and resizing")
        ->type_name("FILE");
}

void AddOutcome(CLI::App& app, Options& options) {
    app.add_flag("--window", options.window, "Show the frames in a window; F1 lists its keys");
    app.add_flag("--watch", options.watch, "Like --window, and reload when a file of the shader changes");
    app.add_option("--png", options.pngPath, "Write the last frame as a PNG")->type_name("FILE");
    app.add_option("--frames-dir", options.framesFolder, "Write every frame as a PNG to this folder")
        ->type_name("DIR");
    app.add_option("--report", options.reportPath, "Write results, times and messages as JSON")
        ->type_name("FILE");
    app.add_flag("--bench", options.bench, "Print a table of frame times");
    app.add_flag("--check", options.check, "Only load the shader; print errors with line numbers");
    app.add_flag("--info", options.info, "Print the notice about the shader");
}

void RequireOneOutcome(const Options& options) {
    const bool measured = options.bench || !options.reportPath.empty() || !options.framesFolder.empty();
    if (options.window && (measured || options.check || options.info)) {
        RejectUsage(
            "--window and --watch cannot be combined with --bench, --check, --info, --report or "
            "--frames-dir");
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

Options Validate(Arguments& given) {
    Options& options = given.options;
    options.window = options.window || options.watch;
    RequireOneSource(options);
    RequireOneOutcome(options);
    if (!given.size.empty()) {
        const Sides sides = ReadSides(given.size, "--size", kLargestSide);
        options.width = sides.across;
        options.height = sides.down;
    } else if (options.check) {
        options.width = kCheckWidth;
        options.height = kCheckHeight;
    }
    if (given.frames->count() == 0) {
        options.frames = options.window ? 0 : options.check || options.info ? 1 : options.frames;
    }
    AddOutputSettings(given, options.settings);
    for (const std::string& setting : given.settings) {
        options.settings.push_back(ReadSetting(setting));
    }
    return options;
}

}  // namespace

Options ParseOptions(const std::vector<std::string>& arguments) {
    Arguments given;
    CLI::App app(kDescription, "preview");
    // Otherwise a path that begins with a slash would be parsed as an option.
    app.allow_windows_style_options(false);
    AddSource(app, given);
    AddFrame(app, given);
    AddOutcome(app, given.options);
    try {
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::CallForHelp&) {
        given.options.helpText = app.help();
        return given.options;
    } catch (const CLI::ParseError& error) {
        RejectUsage(error.what());
    }
    return Validate(given);
}

}  // namespace pixelforge::preview
