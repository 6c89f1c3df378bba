// Hands the shader over, draws its frames and reports.
#include "preview/preview_run.h"

#include <windows.h>

#include <cstdio>
#include <exception>
#include <functional>
#include <optional>
#include <string_view>

#include "base/file.h"
#include "base/text.h"
#include "preview/cache_entry.h"
#include "preview/documents/shader_handover.h"
#include "preview/early_end.h"
#include "preview/frame_run.h"
#include "preview/host/debug_capture.h"
#include "preview/host/file_paths.h"
#include "preview/host/notice.h"
#include "preview/host/png_file.h"
#include "preview/messages.h"
#include "preview/progress_bar.h"
#include "preview/report.h"
#include "preview/view/live_view.h"

namespace pixelforge::preview {
namespace {

/// Absolute, because the current folder changes to the shader's. Empty where nothing was asked for.
struct Paths {
    std::wstring source;
    std::wstring png;
    std::wstring frames;
    std::wstring report;
    std::wstring include;
    std::wstring start;  ///< the current folder at first
};

std::wstring AbsoluteOrEmpty(const std::string& path) {
    return path.empty() ? std::wstring() : AbsolutePath(path);
}

const std::string& SourceName(const Options& options) {
    if (!options.shaderId.empty()) {
        return options.shaderId;
    }
    return options.documentPath.empty() ? options.playlistPath : options.documentPath;
}

Paths ResolvePaths(const Options& options) {
    return {.source = AbsolutePath(SourceName(options)),
            .png = AbsoluteOrEmpty(options.pngPath),
            .frames = AbsoluteOrEmpty(options.framesFolder),
            .report = AbsoluteOrEmpty(options.reportPath),
            .include = AbsoluteOrEmpty(options.includeFolder),
            .start = AbsolutePath(".")};
}

void SetIncludeFolder(const Options& options, const Paths& paths) {
    if (paths.include.empty()) {
        return;
    }
    if (!IsExistingFolder(paths.include.c_str())) {
        throw HostError(ExitStatus::WrongUsage, "--include: " + options.includeFolder + " is not a folder");
    }
    if (paths.include.size() >= kPathUnits) {
        throw HostError(ExitStatus::WrongUsage, "--include: the path is longer than the module reads");
    }
    SetEnvironmentVariableW(L"FOLDER_SHADERINCLUDE", paths.include.c_str());
}

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
    const auto bytes = ReadInputFile(AbsolutePath(options.eventsPath));
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return EventPlayer(ParseInputEvents(text, options.eventsPath));
}

SessionOptions ForSession(const Options& options, const ShaderDrop& drop) {
    return {.width = options.width,
            .height = options.height,
            .playlistName = drop.PlaylistName(),
            .settings = options.settings,
            .levelDivisor = options.levels != 0 ? options.levels : kPaletteColors,
            .levelOutput = options.levels != 0 ? 1 : 0,
            .offscreenWhenNeeded = true};
}

void WritePicture(const std::wstring& path, const HostSession& session) {
    std::vector<std::uint8_t> greys;
    WritePng(path, session.Picture(greys));
}

/// "DIR\frame-00001.png" and so on.
void WriteNumberedPicture(const std::wstring& folder, int number, const HostSession& session) {
    wchar_t name[32];
    std::swprintf(name, 32, L"\\frame-%05d.png", number);
    WritePicture(folder + name, session);
}

void MakeFramesFolder(const std::wstring& folder) {
    if (!folder.empty() && !CreateDirectoryW(folder.c_str(), nullptr) && !IsExistingFolder(folder.c_str())) {
        throw HostError(ExitStatus::WrongUsage, WithLastError("cannot make the folder " + ToUtf8(folder)));
    }
}

/// What stays the same whether frames are shown or counted.
struct Run {
    const Options& options;
    const Paths& paths;
    ShaderHandover& shader;
    EventPlayer* events;
    const std::atomic<bool>* stop = nullptr;
};

/// What is left of a run when its session has ended.
struct Outcome {
    std::vector<FrameRecord> frames;
    std::wstring infoText;  ///< taken before the module's clean-up clears it
    std::int32_t width;     ///< of the last frame
    std::int32_t height;
    std::exception_ptr pictureFault;  ///< why the last frame could not be written
};

std::exception_ptr WriteLastPicture(const std::wstring& path, const HostSession& session) {
    try {
        WritePicture(path, session);
    } catch (const HostError&) {
        return std::current_exception();
    }
    return nullptr;
}

Outcome DrawFrames(const Run& run, const ModuleLibrary& library) {
    MakeFramesFolder(run.paths.frames);
    HostSession session(library, ForSession(run.options, run.shader.Drop()));
    session.Open();
    ProgressBar progress(run.options.frames);
    std::vector<FrameRecord> frames =
        RunFrames(session, {.frames = run.options.frames,
                            .checksums = !run.paths.report.empty(),
                            .stop = run.stop,
                            .events = run.events,
                            .frameDrawn = [&](int count) {
                                if (!run.paths.frames.empty()) {
                                    WriteNumberedPicture(run.paths.frames, count, session);
                                }
                                progress.Advance(count);
                            }});
    const bool wanted = !run.paths.png.empty() && Summarize(frames).failed == 0;
    return {std::move(frames), HostSession::InfoText(), session.Context().width, session.Context().height,
            wanted ? WriteLastPicture(run.paths.png, session) : nullptr};
}

ExitStatus Judge(const FrameStatistics& statistics) {
    return statistics.drawn > 0 && statistics.failed == 0 ? ExitStatus::Drawn : ExitStatus::Failed;
}

void ExplainFailure(const FrameStatistics& statistics, bool anyLine) {
    if (statistics.failed == 0) {
        PrintError("preview: no frame was drawn: the module drew nothing new on any call");
    } else if (statistics.drawn == 0) {
        PrintError(std::string("preview: the shader could not be drawn") +
                   (anyLine ? "" : "; the module gave no reason"));
    } else {
        PrintError("preview: " + std::to_string(statistics.failed) + " frames failed");
    }
}

/// The picture's path is shown as the user wrote it, which a user of Wine can go on working with.
void PrintSummary(const Options& options, const Outcome& outcome, const FrameStatistics& statistics) {
    const char* const picture =
        options.pngPath.empty() ? "none (write it with --png FILE)" : options.pngPath.c_str();
    std::printf("picture     %s\n", picture);
    std::printf("frame size  %d x %d\n", static_cast<int>(outcome.width), static_cast<int>(outcome.height));
    std::printf("frame rate  %.1f frames per second (median of %zu)\n", statistics.framesPerSecond,
                statistics.measured);
}

void WriteReport(const Options& options, const Paths& paths, ExitStatus status,
                 const std::vector<FrameRecord>& frames, const std::vector<std::string>& lines) {
    if (paths.report.empty()) {
        return;
    }
    const std::string json = ReportJson({.shader = SourceName(options),
                                         .width = options.width,
                                         .height = options.height,
                                         .exitStatus = static_cast<int>(status),
                                         .gl = QueryGlInfo(),
                                         .frames = frames,
                                         .debugLines = lines});
    WriteOutputFile(paths.report, {reinterpret_cast<const std::uint8_t*>(json.data()), json.size()});
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

ExitStatus RunCounted(const Run& run, const ModuleLibrary& library, const DebugCapture& capture,
                      const Messages& readableLines) {
    const Outcome outcome = DrawFrames(run, library);
    const FrameStatistics statistics = Summarize(outcome.frames);
    const ExitStatus status = outcome.pictureFault ? ExitStatus::Failed : Judge(statistics);
    WriteReport(run.options, run.paths, status, outcome.frames, capture.Lines());
    if (outcome.pictureFault) {
        std::rethrow_exception(outcome.pictureFault);
    }
    const std::vector<std::string> lines = readableLines();
    PrintLines(lines);
    if (status == ExitStatus::Drawn) {
        PrintOutcome(run, outcome, statistics);
    } else {
        ExplainFailure(statistics, !lines.empty());
    }
    return status;
}

/// The file's name, without folders and extension, in the folder where the program was started.
std::wstring PictureStem(const Paths& paths) {
    const std::wstring name = paths.source.substr(paths.source.find_last_of(L"\\/") + 1);
    return paths.start + L"\\" + name.substr(0, name.rfind(L'.'));
}

ExitStatus RunShown(const Run& run, const ModuleLibrary& library, DebugCapture& capture,
                    const Messages& readableLines) {
    return RunLiveView(
        library,
        {.session = ForSession(run.options, run.shader.Drop()),
         .name = SourceName(run.options),
         .pictureStem = PictureStem(run.paths),
         .lastPicture = run.paths.png,
         .frames = run.options.frames,
         .events = run.events,
         .stop = run.stop,
         .sourceChanged = run.options.watch ? std::function([&] { return run.shader.Refresh(); }) : nullptr,
         .takeMessages = [&] {
             auto lines = readableLines();
             capture.Clear();
             return lines;
         }});
}

/// A shader of the service has no folder.
void EnterFolder(const Options& options, const Paths& paths, std::optional<WorkingFolder>& folder) {
    if (options.shaderId.empty() && !folder.emplace(paths.source).Entered()) {
        PrintError("preview: the shader's folder has too long a path; files beside it will not be found");
    }
}

ShaderHandover HandOver(const Options& options, const Paths& paths) {
    if (!options.shaderId.empty()) {
        return ShaderHandover::OfIdentifier(options.shaderId);
    }
    if (options.documentPath.empty()) {
        return ShaderHandover::OfPlaylist(paths.source);
    }
    ShaderHandover shader = ShaderHandover::OfFile(paths.source, paths.include);
    if (!shader.Remark().empty()) {
        PrintError("preview: " + options.documentPath + ": " + shader.Remark());
    }
    return shader;
}

}  // namespace

ExitStatus RunPreview(const Options& options) {
    if (!options.forgetId.empty()) {
        ForgetCachedShader(options.forgetId);
        if (SourceName(options).empty()) {
            return ExitStatus::Drawn;
        }
    }
    const Paths paths = ResolvePaths(options);
    SetIncludeFolder(options, paths);
    std::optional<EventPlayer> events = ReadEvents(options);
    ShaderHandover shader = HandOver(options, paths);
    DebugCapture capture;
    const Messages readableLines = [&] {
        return ReadableLines(capture.Lines(), ToUtf8(shader.Drop().AliasPath()), SourceName(options));
    };
    try {
        std::optional<WorkingFolder> folder;
        EnterFolder(options, paths, folder);
        const EarlyEndGuard guard(shader.Drop());
        const ModuleLibrary library;
        const Run run{options, paths, shader, events ? &*events : nullptr, &guard.StopWanted()};
        return options.window ? RunShown(run, library, capture, readableLines)
                              : RunCounted(run, library, capture, readableLines);
    } catch (const HostError&) {
        PrintLines(readableLines());
        throw;
    }
}

}  // namespace pixelforge::preview
