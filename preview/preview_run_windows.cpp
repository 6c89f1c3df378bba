// Stages the shader, draws its frames and reports.
#include "preview/preview_run.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <optional>
#include <string_view>
#include <utility>

#include "base/file.h"
#include "base/load_error.h"
#include "base/text.h"
#include "preview/cleanup_on_abort.h"
#include "preview/documents/opened_shader.h"
#include "preview/documents/shader_source.h"
#include "preview/documents/source_faults.h"
#include "preview/frame_run.h"
#include "preview/host/debug_capture.h"
#include "preview/host/file_paths.h"
#include "preview/host/notice.h"
#include "preview/report.h"
#include "preview/run_paths.h"
#include "preview/video.h"
#include "preview/view/frame_graph.h"
#include "preview/view/live_view.h"
#include "preview/view/playlist_player.h"
#include "service/service_urls.h"

namespace pixelforge::preview {
namespace {

void PrintError(const std::string& text) {
    std::fprintf(stderr, "%s\n", text.c_str());
}

void PrintLines(const std::vector<std::string>& lines) {
    for (const std::string& line : lines) {
        PrintError(line);
    }
}

std::optional<EventPlayer> ReadEvents(const Options& options) {
    if (options.eventsPath.empty()) {
        return std::nullopt;
    }
    const std::string text = ReadInputFile(AbsolutePath(options.eventsPath));
    return EventPlayer(ParseInputEvents(text, options.eventsPath));
}

SessionOptions SessionOptionsOf(const Options& options, const StagedShader& shader) {
    return {.width = options.width,
            .height = options.height,
            .playlistName = shader.PlaylistName(),
            .settings = options.settings,
            .levelDivisor = options.levels != 0 ? options.levels : kPaletteColors,
            .levelOutput = options.levels != 0 ? 1 : 0,
            .autoOffscreen = true};
}

/// Shared by runs with and without a window.
struct Run {
    const Options& options;
    const Paths& paths;
    OpenedShader& shader;
    std::optional<Options>& next;  ///< a run that follows this one
    EventPlayer* events;
    const std::atomic<bool>* stop = nullptr;
};

/// The result of a run without a window, after its session.
struct Outcome {
    std::vector<FrameRecord> frames;
    std::wstring infoText;  ///< copied before the module's clean-up clears it
    std::int32_t width;     ///< of the last frame
    std::int32_t height;
    std::string pictureError;  ///< why the last frame could not be written; empty if it was
};

Outcome DrawFrames(const Run& run, const ModuleLibrary& library) {
    HostSession session(library, SessionOptionsOf(run.options, run.shader.Staged()));
    session.Open();
    std::optional<VideoWriter> video;
    if (const std::wstring& path = run.paths.Of(Output::Video); !path.empty()) {
        video.emplace(path, run.options.framesPerSecond);
    }
    std::vector<FrameRecord> frames = RunFrames(
        session, {.frames = run.options.frames,
                  .checksums = !run.paths.Of(Output::Report).empty(),
                  .realTime = run.options.realTime,
                  .stop = run.stop,
                  .events = run.events,
                  .frameDrawn = [&](int count) {
                      if (!run.paths.Of(Output::Frames).empty()) {
                          WritePng(NumberedPicture(run.paths.Of(Output::Frames), count), session.Picture());
                      }
                      if (video) {
                          video->Write(session.Picture());
                      }
                  }});
    std::string pictureError;
    if (!run.paths.Of(Output::Picture).empty() && Summarize(frames).failed == 0) {
        const std::wstring& path = run.paths.Of(Output::Picture);
        pictureError = FailureOf([&] {
            run.options.bench ? WriteFrameGraph(path, MeasuredTimes(frames))
                              : WritePng(path, session.Picture());
        });
    }
    return {std::move(frames), HostSession::InfoText(), session.Context().width, session.Context().height,
            pictureError};
}

ExitStatus StatusOf(const FrameStatistics& statistics) {
    return statistics.drawn > 0 && statistics.failed == 0 ? ExitStatus::Drawn : ExitStatus::Failed;
}

void ExplainFailure(const FrameStatistics& statistics, bool anyLine) {
    if (statistics.failed == 0) {
        PrintError("preview: no frame was drawn, although the module reported no failure");
    } else if (statistics.drawn == 0) {
        PrintError(std::string("preview: the shader could not be drawn") +
                   (anyLine ? "" : "; the module reported no reason"));
    } else {
        PrintError("preview: " + std::to_string(statistics.failed) + " frames failed");
    }
}

/// Shows the picture's path as the user wrote it: under Wine an absolute path would be useless.
void PrintSummary(const Options& options, const Outcome& outcome, const FrameStatistics& statistics) {
    const char* const picture =
        options.pngPath.empty() ? "none (use --png FILE to write one)" : options.pngPath.c_str();
    std::printf("picture     %s\n", picture);
    std::printf("frame size  %d x %d\n", static_cast<int>(outcome.width), static_cast<int>(outcome.height));
    std::printf("frame rate  %.1f frames per second (median of %zu)\n", statistics.framesPerSecond,
                statistics.measured);
}

void WriteReport(const Options& options, const Paths& paths, ExitStatus status,
                 const std::vector<FrameRecord>& frames, const std::vector<std::string>& lines,
                 const std::optional<std::vector<PlaylistFailure>>& failedPicks = {}) {
    if (paths.Of(Output::Report).empty()) {
        return;
    }
    const std::string json = ReportJson({.shader = SourceName(options),
                                         .width = options.width,
                                         .height = options.height,
                                         .exitStatus = static_cast<int>(status),
                                         .gl = QueryGlInfo(),
                                         .frames = frames,
                                         .debugLines = lines,
                                         .failedPicks = failedPicks});
    WriteOutputFile(paths.Of(Output::Report), BytesOf(json));
}

void PrintBench(const FrameStatistics& statistics) {
    std::printf("whole frame, %zu frames   median      95 %%     worst\n", statistics.measured);
    std::printf("milliseconds        %10.2f%10.2f%10.2f\n", statistics.medianMilliseconds,
                statistics.percentile95Milliseconds, statistics.worstMilliseconds);
}

void PrintNotice(const std::wstring& infoText) {
    const auto notice = ReadNotice(infoText);
    std::fputs(notice ? NoticeAsPlainText(*notice).c_str() : "", stdout);
}

void PrintOutcome(const Run& run, const Outcome& outcome, const FrameStatistics& statistics) {
    if (run.options.info) {
        PrintNotice(outcome.infoText);
    }
    if (run.options.bench) {
        PrintBench(statistics);
    }
    if (!run.options.check && !run.options.info) {
        PrintSummary(run.options, outcome, statistics);
    }
}

using Messages = std::function<std::vector<std::string>()>;

ExitStatus RunWithoutWindow(const Run& run, const ModuleLibrary& library, const DebugCapture& capture,
                            const Messages& readableLines) {
    const Outcome outcome = DrawFrames(run, library);
    const FrameStatistics statistics = Summarize(outcome.frames);
    const ExitStatus status = outcome.pictureError.empty() ? StatusOf(statistics) : ExitStatus::Failed;
    const std::vector<std::string>& errors = run.shader.Errors();
    WriteReport(run.options, run.paths, status, outcome.frames, errors.empty() ? capture.Lines() : errors);
    if (!outcome.pictureError.empty()) {
        throw HostError(ExitStatus::Failed, outcome.pictureError);
    }
    const std::vector<std::string> lines = readableLines();
    PrintLines(run.shader.Warnings());
    PrintLines(lines);
    if (status == ExitStatus::Drawn) {
        PrintOutcome(run, outcome, statistics);
    } else {
        ExplainFailure(statistics, !lines.empty());
    }
    return status;
}

/// The shader's file name without extension, in the initial folder.
std::wstring PictureStem(const Paths& paths) {
    const std::wstring name = FileNameOf(paths.source);
    return paths.start + L"\\" + name.substr(0, name.rfind(L'.'));
}

std::optional<PlaylistPlayer> OpenPlaylist(const Run& run) {
    if (run.options.playlistPath.empty()) {
        return std::nullopt;
    }
    const std::wstring& favourites = run.paths.Of(Output::Favourites);
    return std::optional<PlaylistPlayer>(
        std::in_place,
        PlaylistFiles{run.paths.source, run.options.playlistPath,
                      favourites.empty() ? FolderOf(run.paths.source) + L"favourites.txt" : favourites},
        run.shader.Staged(), std::chrono::seconds(run.options.secondsPerPick));
}

void PrintFailedPicks(const PlaylistPlayer& playlist) {
    const auto failures = playlist.Order().Failures();
    if (!failures.empty()) {
        PrintError("preview: failed to load " + std::to_string(failures.size()) + " of the playlist's " +
                   std::to_string(playlist.Order().LineCount()) + " shaders:");
    }
    for (const PlaylistFailure& failure : failures) {
        PrintError(playlist.NameOf(failure.line) + ": " +
                   failure.reason.substr(0, failure.reason.find('\n')));
    }
}

ExitStatus RunInWindow(const Run& run, const ModuleLibrary& library, DebugCapture& capture,
                       const Messages& readableLines) {
    auto playlist = OpenPlaylist(run);
    const ExitStatus status = RunLiveView(
        library.Functions(),
        {.session = SessionOptionsOf(run.options, run.shader.Staged()),
         .name = SourceName(run.options),
         .pictureStem = PictureStem(run.paths),
         .lastPicture = run.paths.Of(Output::Picture),
         .frames = run.options.frames,
         .events = run.events,
         .stop = run.stop,
         .realTime = run.options.realTime,
         .fullScreen = run.options.fullScreen,
         .monitor = run.options.monitor,
         .scale = run.options.scale,
         .playlist = playlist ? &*playlist : nullptr,
         .command = [&] { return CommandOf(run.options); },
         .place = run.options.place,
         .fileDropped = [&](const std::wstring& path,
                            const ViewState& state) { run.next = OptionsForFile(run.options, path, state); },
         .sourceChanged = run.options.watch ? std::function([&] { return run.shader.Refresh(); }) : nullptr,
         .warnings = [&] { return run.shader.Warnings(); },
         .takeMessages =
             [&] {
                 auto lines = readableLines();
                 capture.Clear();
                 return lines;
             }});
    if (playlist) {
        PrintFailedPicks(*playlist);
        WriteReport(run.options, run.paths, status, {}, {}, playlist->Order().Failures());
    }
    return status;
}

/// A shader from the service has no folder.
void EnterFolder(const Options& options, const Paths& paths, std::optional<WorkingFolder>& folder) {
    if (options.shaderId.empty() && !folder.emplace(paths.source).Entered()) {
        PrintError(
            "preview: the path of the shader's folder is too long; files beside the shader will not be "
            "found");
    }
}

OpenedShader OpenShader(const Options& options, const Paths& paths) {
    if (!options.shaderId.empty()) {
        return OpenedShader::OfIdentifier(options.shaderId);
    }
    if (options.documentPath.empty()) {
        PrintLines(PlaylistFaults(ReadInputFile(paths.source), options.playlistPath));
        return OpenedShader::OfPlaylist(paths.source);
    }
    OpenedShader shader = OpenedShader::OfFile(paths.source, paths.include, options.documentPath);
    if (!options.picturePath.empty()) {
        shader.UsePicture(options.picturePath);
    }
    if (!shader.Conversion().empty()) {
        PrintError("preview: " + options.documentPath + ": " + shader.Conversion());
    }
    return shader;
}

/// In the data folder that the module publishes when it is loaded.
std::wstring CachedFile(const std::string& identifier) {
    CacheEntry entry;
    wchar_t url[kPathUnits];
    wchar_t folder[kPathUnits] = {};
    if (!FormatShaderUrl(FromUtf8(identifier).c_str(), url) || !ClassifyUrl(url, entry)) {
        throw HostError(ExitStatus::WrongUsage,
                        "--forget: \"" + identifier + "\" is not a shader identifier");
    }
    const ModuleLibrary library;
    const DWORD units =
        ExpandEnvironmentStringsW(L"%DAT_BASEFOLDER%\\Pixelforge\\PixelforgeCache\\", folder, kPathUnits);
    if (units == 0 || units + std::wstring_view(entry.name).size() > kPathUnits) {
        throw HostError(ExitStatus::Failed, "--forget: the path of the module's cache is too long");
    }
    return std::wstring(folder) + entry.name;
}

/// Draws the shader once; `next` is what a file dropped on the window asks for.
ExitStatus RunOnce(const Options& options, std::optional<Options>& next) {
    Paths paths = ResolvePaths(options);
    SetIncludeFolder(options, paths);
    std::optional<EventPlayer> events = ReadEvents(options);
    OpenedShader shader = OpenShader(options, paths);
    RequireWritableOutputs(paths);
    DebugCapture capture;
    const Messages readableLines = [&] {
        if (!shader.Errors().empty()) {
            return shader.Errors();
        }
        return EditorLines(
            ReadableLines(capture.Lines(), ToUtf8(shader.Staged().AliasPath()), SourceName(options)),
            shader.Names());
    };
    try {
        std::optional<WorkingFolder> folder;
        EnterFolder(options, paths, folder);
        const CleanupOnAbort cleanup(shader.Staged());
        const ModuleLibrary library;
        const Run run{options, paths, shader, next, events ? &*events : nullptr, &cleanup.StopRequested()};
        return options.window ? RunInWindow(run, library, capture, readableLines)
                              : RunWithoutWindow(run, library, capture, readableLines);
    } catch (const HostError&) {
        PrintLines(readableLines());
        throw;
    }
}

}  // namespace

void ForgetCachedShader(const std::string& identifier) {
    const std::wstring file = CachedFile(identifier);
    if (DeleteFileW(file.c_str())) {
        std::printf("removed     %s\n", ToUtf8(file).c_str());
    } else if (GetLastError() == ERROR_FILE_NOT_FOUND || GetLastError() == ERROR_PATH_NOT_FOUND) {
        std::printf("removed     nothing: %s is not in the cache\n", identifier.c_str());
    } else {
        throw HostError(ExitStatus::Failed, WithLastError("cannot remove " + ToUtf8(file)));
    }
}

ExitStatus PackShader(const Options& options) {
    const ShaderSource source =
        ReadShaderSource(AbsolutePath(options.documentPath), {}, options.documentPath);
    PrintLines(source.errors);
    if (!source.errors.empty()) {
        return ExitStatus::Failed;
    }
    const std::wstring packed = AbsolutePath(options.packPath);
    RequireWritableOutput("--pack", packed);
    const bool ended = source.document.ends_with('\n');
    WriteOutputFile(packed, BytesOf(source.document + (ended ? "" : "\n")));
    std::printf("document    %s\n", options.packPath.c_str());
    return ExitStatus::Drawn;
}

ExitStatus RunPreview(const Options& options) {
    if (!options.packPath.empty()) {
        return PackShader(options);
    }
    if (!options.forgetId.empty()) {
        ForgetCachedShader(options.forgetId);
        if (SourceName(options).empty()) {
            return ExitStatus::Drawn;
        }
    }
    std::optional<Options> next = options;
    ExitStatus status = ExitStatus::Failed;
    while (next) {
        const Options current = *std::exchange(next, std::nullopt);
        status = RunOnce(current, next);
    }
    return status;
}

}  // namespace pixelforge::preview
