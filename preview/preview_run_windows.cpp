// Stages the shader, draws its frames and reports.
#include "preview/preview_run.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <filesystem>
#include <functional>
#include <optional>
#include <utility>

#include "base/file.h"
#include "base/load_error.h"
#include "base/text.h"
#include "preview/abort_handler.h"
#include "preview/documents/opened_shader.h"
#include "preview/documents/source_faults.h"
#include "preview/frame_run.h"
#include "preview/host/debug_capture.h"
#include "preview/host/file_paths.h"
#include "preview/host/notice.h"
#include "preview/report.h"
#include "preview/video.h"
#include "preview/view/frame_graph.h"
#include "preview/view/live_view.h"
#include "preview/view/playlist_player.h"
#include "service/service_urls.h"

namespace pixelforge::preview {
namespace {

void PrintLine(const std::string& text) {
    std::fprintf(stderr, "%s\n", text.c_str());
}

void PrintLines(const std::vector<std::string>& lines) {
    std::ranges::for_each(lines, PrintLine);
}

/// Shared by runs with and without a window.
struct Run {
    const Options& options;
    OpenedShader& shader;
    DebugCapture& capture;
    std::wstring pictureStem;  ///< of the live view, in the initial folder
    std::optional<EventPlayer> events = {};

    EventPlayer* Events() { return events ? &*events : nullptr; }

    /// What is wrong with the shader, for the user.
    std::vector<std::string> Messages() const {
        if (!shader.Errors().empty()) {
            return shader.Errors();
        }
        const std::string alias = ToUtf8(shader.Staged().AliasPath());
        return EditorLines(ReadableLines(capture.Lines(), alias, options.source.name), shader.Names());
    }
};

SessionOptions SessionOptionsOf(const Run& run) {
    const std::int32_t levels = run.options.levels;
    return {.width = run.options.size.cx,
            .height = run.options.size.cy,
            .playlistName = run.shader.Staged().PlaylistName(),
            .settings = run.options.settings,
            .levelDivisor = levels != 0 ? levels : kPaletteColors,
            .levelOutput = levels != 0 ? 1 : 0,
            .autoOffscreen = true};
}

std::wstring NumberedPicture(const UserPath& folder, int number) {
    wchar_t name[32];
    std::swprintf(name, 32, L"\\frame-%05d.png", number);
    return folder.path + name;
}

std::vector<FrameRecord> DrawFrames(Run& run, HostSession& session, const std::atomic<bool>& stop) {
    const Options& options = run.options;
    std::optional<VideoWriter> video;
    if (!options.video.name.empty()) {
        video.emplace(options.video, options.framesPerSecond);
    }
    return RunFrames(session, {.frames = options.frames,
                               .checksums = !options.report.name.empty(),
                               .realTime = options.realTime,
                               .stop = &stop,
                               .events = run.Events(),
                               .frameDrawn = [&](int count) {
                                   if (!options.framesFolder.name.empty()) {
                                       WritePng(NumberedPicture(options.framesFolder, count),
                                                session.Picture());
                                   }
                                   if (video) {
                                       video->Write(session.Picture());
                                   }
                               }});
}

void WriteReport(const Options& options, ExitStatus status, const std::vector<FrameRecord>& frames,
                 const std::vector<std::string>& lines,
                 const std::optional<std::vector<PlaylistFailure>>& failedPicks = {}) {
    if (!options.report.name.empty()) {
        const std::string json = ReportJson({.shader = options.source.name,
                                             .width = options.size.cx,
                                             .height = options.size.cy,
                                             .exitStatus = static_cast<int>(status),
                                             .frames = frames,
                                             .debugLines = lines,
                                             .failedPicks = failedPicks});
        WriteOutputFile(options.report.path, BytesOf(json));
    }
}

void WritePicture(const Options& options, const std::vector<FrameRecord>& frames, HostSession& session) {
    if (options.bench) {
        WriteFrameGraph(options.png.path, MeasuredTimes(frames));
    } else {
        WritePng(options.png.path, session.Picture());
    }
}

void PrintFailure(const FrameStatistics& statistics, bool anyLine) {
    if (statistics.drawn > 0) {
        PrintLine("preview: " + std::to_string(statistics.failed) + " frames failed");
    } else {
        PrintLine(std::string("preview: the shader could not be drawn") +
                  (anyLine ? "" : "; the module reported no reason"));
    }
}

void PrintOutcome(const Options& options, const FrameStatistics& statistics, const std::wstring& infoText,
                  const DrawContext& last) {
    if (const auto notice = ReadNotice(infoText); options.info && notice) {
        std::fputs(NoticeAsPlainText(*notice).c_str(), stdout);
    }
    if (options.bench) {
        std::printf("whole frame, %td frames   median      95 %%     worst\n", statistics.measured);
        std::printf("milliseconds        %10.2f%10.2f%10.2f\n", statistics.medianMilliseconds,
                    statistics.percentile95Milliseconds, statistics.worstMilliseconds);
    }
    if (!options.check && !options.info) {
        const std::string& picture = options.png.name;  // Under Wine an absolute path would be useless.
        std::printf("picture     %s\n",
                    picture.empty() ? "none (use --png FILE to write one)" : picture.c_str());
        std::printf("frame size  %d x %d\n", last.width, last.height);
        std::printf("frame rate  %.1f frames per second (median of %td)\n", statistics.framesPerSecond,
                    statistics.measured);
    }
}

ExitStatus RunWithoutWindow(Run& run, const ModuleLibrary& library, const std::atomic<bool>& stop) {
    HostSession session(library, SessionOptionsOf(run));
    session.Open();
    const std::vector<FrameRecord> frames = DrawFrames(run, session, stop);
    const FrameStatistics statistics = Summarize(frames);
    const bool drawn = statistics.drawn > 0 && statistics.failed == 0;
    if (drawn && !run.options.png.name.empty()) {
        WritePicture(run.options, frames, session);
    }
    const std::wstring infoText = HostSession::InfoText();  // The module's clean-up clears it.
    session.Close();
    const ExitStatus status = drawn ? ExitStatus::Drawn : ExitStatus::Failed;
    const std::vector<std::string>& errors = run.shader.Errors();
    WriteReport(run.options, status, frames, errors.empty() ? run.capture.Lines() : errors);
    const std::vector<std::string> lines = run.Messages();
    PrintLines(run.shader.Warnings());
    PrintLines(lines);
    if (drawn) {
        PrintOutcome(run.options, statistics, infoText, session.Context());
    } else {
        PrintFailure(statistics, !lines.empty());
    }
    return status;
}

void PrintFailedPicks(const PlaylistPlayer& playlist) {
    const auto failures = playlist.Order().Failures();
    if (!failures.empty()) {
        PrintLine("preview: failed to load " + std::to_string(failures.size()) + " of the playlist's " +
                  std::to_string(playlist.Order().LineCount()) + " shaders:");
    }
    for (const PlaylistFailure& failure : failures) {
        PrintLine(playlist.NameOf(failure.line) + ": " + failure.reason.substr(0, failure.reason.find('\n')));
    }
}

/// `next` is set to what a file dropped on the window asks for.
ExitStatus RunInWindow(Run& run, const ModuleLibrary& library, const std::atomic<bool>& stop,
                       std::optional<Options>& next) {
    const Options& options = run.options;
    std::optional<PlaylistPlayer> playlist;
    if (options.kind == SourceKind::Playlist) {
        const std::wstring& favourites = options.favourites.path;
        playlist.emplace(PlaylistFiles{options.source.path, options.source.name,
                                       favourites.empty() ? FolderOf(options.source.path) + L"favourites.txt"
                                                          : favourites},
                         run.shader.Staged(), std::chrono::seconds(options.secondsPerPick));
    }
    const ExitStatus status = RunLiveView(
        library.Functions(),
        {.session = SessionOptionsOf(run),
         .name = options.source.name,
         .pictureStem = run.pictureStem,
         .lastPicture = options.png.path,
         .frames = options.frames,
         .events = run.Events(),
         .stop = &stop,
         .realTime = options.realTime,
         .fullScreen = options.fullScreen,
         .monitor = options.monitor,
         .scale = options.scale,
         .playlist = playlist ? &*playlist : nullptr,
         .command = [&] { return CommandOf(options); },
         .place = options.place,
         .fileDropped = [&](auto& path, auto& state) { next = OptionsForFile(options, path, state); },
         .sourceChanged = options.watch ? std::function([&] { return run.shader.Refresh(); }) : nullptr,
         .warnings = [&] { return run.shader.Warnings(); },
         .takeMessages =
             [&] {
                 auto lines = run.Messages();
                 run.capture.Clear();
                 return lines;
             }});
    if (playlist) {
        PrintFailedPicks(*playlist);
        WriteReport(options, status, {}, {}, playlist->Order().Failures());
    }
    return status;
}

constexpr const wchar_t* kIncludeVariable = L"FOLDER_SHADERINCLUDE";

/// Why the module cannot use the folder; null if it can.
const char* FaultOfFolder(const std::wstring& path) {
    return !IsExistingFolder(path.c_str()) ? "not a folder"
           : path.size() >= kPathUnits     ? "too long"
                                           : nullptr;
}

/// Of the environment, as the module reads it. Prints what is wrong with it.
IncludeFolder InheritedIncludeFolder(const UserPath& source) {
    const wchar_t* const value = _wgetenv(kIncludeVariable);  // unaffected by SetEnvironmentVariableW
    if (!value) {
        return {};
    }
    const std::string start = "preview: FOLDER_SHADERINCLUDE: ";
    const std::string name = ToUtf8(value);
    const std::filesystem::path joined = std::filesystem::path(FolderOf(source.path)) / value;
    const std::wstring path = AbsolutePath(ToUtf8(joined.native()));
    if (const char* const fault = FaultOfFolder(path)) {
        PrintLine(start + "the module ignores \"" + name + "\": " + fault);
        return {};
    }
    if (std::filesystem::path(value).has_root_path()) {
        return {path, name};
    }
    PrintLine(start + "\"" + name +
              "\" is a relative path; preview looks for it in the shader's folder, a host in its own current "
              "folder");
    return {path, source.name.substr(0, source.name.find_last_of("/\\") + 1) + name};
}

/// Passes the folder of --include to the module. Without the option, reads the variable as the module does.
IncludeFolder PublishIncludeFolder(const Options& options) {
    const auto& [name, path] = options.includeFolder;
    if (const char* const fault = name.empty() ? nullptr : FaultOfFolder(path)) {
        throw HostError(ExitStatus::WrongUsage, "--include: " + name + ": " + fault);
    }
    const IncludeFolder folder =
        name.empty() ? InheritedIncludeFolder(options.source) : IncludeFolder{path, name};
    SetEnvironmentVariableW(kIncludeVariable, folder.path.empty() ? nullptr : folder.path.c_str());
    return folder;
}

OpenedShader OpenShader(const Options& options) {
    const IncludeFolder include = PublishIncludeFolder(options);
    if (options.kind == SourceKind::Identifier) {
        return OpenedShader::OfIdentifier(options.source.name);
    }
    if (options.kind == SourceKind::Playlist) {
        PrintLines(PlaylistFaults(ReadInputFile(options.source.path), options.source.name));
        return OpenedShader::OfPlaylist(options.source.path);
    }
    OpenedShader shader = OpenedShader::OfFile(options.source.path, include, options.source.name);
    if (!options.picturePath.empty()) {
        shader.UsePicture(options.picturePath);
    }
    if (!shader.Conversion().empty()) {
        PrintLine("preview: " + options.source.name + ": " + shader.Conversion());
    }
    return shader;
}

/// Otherwise a long run would be lost at its end.
void RequireWritableOutputs(const Options& options) {
    const UserPath firstFrame = {options.framesFolder.name, NumberedPicture(options.framesFolder, 1)};
    for (const auto& [option, output] : {std::pair("--png", options.png),
                                         {"--frames-dir", firstFrame},
                                         {"--report", options.report},
                                         {"--video", options.video},
                                         {"--favourites", options.favourites},
                                         {"--pack", options.packed}}) {
        if (!output.name.empty() && output.name != kStandardOutput) {
            const std::string failure = FailureOf([&] { RequireWritable(output.path); });
            if (!failure.empty()) {
                throw HostError(ExitStatus::WrongUsage, std::string(option) + ": " + failure);
            }
        }
    }
}

/// Draws the shader once; `next` is the run that follows.
ExitStatus RunOnce(const Options& options, std::optional<Options>& next) {
    OpenedShader shader = OpenShader(options);
    RequireWritableOutputs(options);
    DebugCapture capture;
    const std::filesystem::path name(FromUtf8(options.source.name));
    Run run{options, shader, capture, AbsolutePath(ToUtf8(name.stem().native()))};
    if (!options.events.name.empty()) {
        run.events.emplace(ParseInputEvents(ReadInputFile(options.events.path), options.events.name));
    }
    try {
        std::optional<WorkingFolder> folder;
        // A shader from the service has no folder.
        if (options.kind != SourceKind::Identifier && !folder.emplace(options.source.path).Entered()) {
            PrintLine(
                "preview: the path of the shader's folder is too long; files beside the shader will not be "
                "found");
        }
        const std::atomic<bool>& stop = HandleAborts();
        const ModuleLibrary library;
        return options.window ? RunInWindow(run, library, stop, next) : RunWithoutWindow(run, library, stop);
    } catch (const HostError&) {
        PrintLines(run.Messages());
        throw;
    }
}

ExitStatus PackShader(const Options& options) {
    RequireWritableOutputs(options);
    const ShaderSource source = ReadShaderSource(options.source.path, {}, options.source.name);
    if (!source.errors.empty()) {
        PrintLines(source.errors);
        return ExitStatus::Failed;
    }
    const char* const end = source.document.ends_with('\n') ? "" : "\n";
    WriteOutputFile(options.packed.path, BytesOf(source.document + end));
    std::printf("document    %s\n", options.packed.name.c_str());
    return ExitStatus::Drawn;
}

}  // namespace

void ForgetCachedShader(const std::string& identifier) {
    CacheEntry entry;
    wchar_t url[kPathUnits];
    if (!FormatShaderUrl(FromUtf8(identifier).c_str(), url) || !ClassifyUrl(url, entry)) {
        throw HostError(ExitStatus::WrongUsage,
                        "--forget: \"" + identifier + "\" is not a shader identifier");
    }
    // When it is loaded, the module publishes its data folder: an empty one if the path does not fit.
    const ModuleLibrary library;
    wchar_t folder[kPathUnits] = {};
    const DWORD units = GetEnvironmentVariableW(L"DAT_BASEFOLDER", folder, kPathUnits);
    const std::wstring file = folder + std::wstring(L"\\Pixelforge\\PixelforgeCache\\") + entry.name;
    if (units == 0 || file.size() >= kPathUnits) {
        throw HostError(ExitStatus::Failed, "--forget: the path of the module's cache is too long");
    }
    if (DeleteFileW(file.c_str())) {
        std::printf("removed     %s\n", ToUtf8(file).c_str());
    } else if (GetLastError() == ERROR_FILE_NOT_FOUND || GetLastError() == ERROR_PATH_NOT_FOUND) {
        std::printf("removed     nothing: %s is not in the cache\n", identifier.c_str());
    } else {
        throw HostError(ExitStatus::Failed, WithLastError("cannot remove " + ToUtf8(file)));
    }
}

ExitStatus RunPreview(const Options& options) {
    if (!options.packed.name.empty()) {
        return PackShader(options);
    }
    if (!options.forgetId.empty()) {
        ForgetCachedShader(options.forgetId);
    }
    ExitStatus status = ExitStatus::Drawn;
    auto next = options.kind == SourceKind::None ? std::nullopt : std::optional(options);
    while (next) {
        const Options current = *std::exchange(next, std::nullopt);
        status = RunOnce(current, next);
    }
    return status;
}

}  // namespace pixelforge::preview
