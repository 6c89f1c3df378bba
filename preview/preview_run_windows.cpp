// Stages the shader, draws its frames and reports.
#include "preview/preview_run.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cwchar>
#include <filesystem>
#include <functional>
#include <optional>
#include <utility>

#include "base/file.h"
#include "base/text.h"
#include "preview/abort_handler.h"
#include "preview/documents/opened_shader.h"
#include "preview/documents/source_faults.h"
#include "preview/frame_run.h"
#include "preview/host/debug_capture.h"
#include "preview/host/notice.h"
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
    EventPlayer* events;       ///< may be null
    std::wstring pictureStem;  ///< of the live view, in the initial folder

    /// For the user; those of a load start with what is wrong with the source.
    std::vector<std::string> Messages(bool load) const {
        std::vector<std::string> lines = load ? shader.Warnings() : std::vector<std::string>();
        const std::string staged = ToUtf8(shader.Staged().Path());
        const auto captured = ReadableLines(capture.Lines(), staged, options.source.name);
        const auto& errors = shader.Errors();
        std::ranges::move(errors.empty() ? EditorLines(captured, shader.Names()) : errors,
                          std::back_inserter(lines));
        return lines;
    }
};

std::wstring NumberedPicture(const UserPath& folder, int number) {
    wchar_t name[32];
    std::swprintf(name, 32, L"\\frame-%05d.png", number);
    return folder.path + name;
}

std::function<void(int)> FrameWriter(const Options& options, HostSession& session) {
    const bool pictures = !options.framesFolder.name.empty();
    const auto addToVideo = options.video.name.empty() ? std::function<void(const FramePixels&)>()
                                                       : OpenVideo(options.video, options.framesPerSecond);
    return [=, &options, &session](int count) {
        if (pictures) {
            WritePng(NumberedPicture(options.framesFolder, count), session.Picture());
        }
        if (addToVideo) {
            addToVideo(session.Picture());
        }
    };
}

void WriteReport(const Options& options, ExitStatus status, Report report) {
    if (!options.report.name.empty()) {
        report.shader = options.source.name;
        report.width = options.size.cx;
        report.height = options.size.cy;
        report.exitStatus = static_cast<int>(status);
        WriteOutputFile(options.report.path, BytesOf(ReportJson(report)));
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

ExitStatus RunWithoutWindow(const Run& run, const ModuleLibrary& library, const std::atomic<bool>& stop) {
    const Options& options = run.options;
    HostSession session(library, {.width = options.size.cx,
                                  .height = options.size.cy,
                                  .playlistName = run.shader.Staged().PlaylistName(),
                                  .settings = options.settings,
                                  .autoOffscreen = true});
    session.SetLevels(options.levels);
    session.Open();
    const auto frames = RunFrames(session, {.frames = options.frames,
                                            .checksums = !options.report.name.empty(),
                                            .realTime = options.realTime,
                                            .stop = &stop,
                                            .events = run.events,
                                            .frameDrawn = FrameWriter(options, session)});
    const FrameStatistics statistics = Summarize(frames);
    const bool drawn = statistics.drawn > 0 && statistics.failed == 0;
    if (drawn && options.bench && !options.png.name.empty()) {
        WriteFrameGraph(options.png.path, MeasuredTimes(frames));
    } else if (drawn && !options.png.name.empty()) {
        WritePng(options.png.path, session.Picture());
    }
    const std::wstring infoText = HostSession::InfoText();  // The module's clean-up clears it.
    session.Close();
    const ExitStatus status = drawn ? ExitStatus::Drawn : ExitStatus::Failed;
    const std::vector<std::string>& errors = run.shader.Errors();
    WriteReport(options, status,
                {.frames = frames, .debugLines = errors.empty() ? run.capture.Lines() : errors});
    const std::vector<std::string> lines = run.Messages(true);
    PrintLines(lines);
    if (drawn) {
        PrintOutcome(options, statistics, infoText, session.Context());
    } else {
        const std::string reason = lines.empty() ? "; the module reported no reason" : "";
        PrintLine("preview: " + (statistics.drawn > 0 ? std::to_string(statistics.failed) + " frames failed"
                                                      : "the shader could not be drawn" + reason));
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
ExitStatus RunInWindow(const Run& run, const ModuleLibrary& library, const std::atomic<bool>& stop,
                       std::optional<Options>& next) {
    const Options& options = run.options;
    std::optional<PlaylistPlayer> playlist;
    if (options.kind == SourceKind::Playlist) {
        playlist.emplace(options.source.path, options.source.name, run.shader.Staged(),
                         std::chrono::seconds(options.secondsPerPick));
    }
    const ExitStatus status = RunLiveView(
        library.Functions(),
        {.state = options,
         .name = options.source.name,
         .playlistName = run.shader.Staged().PlaylistName(),
         .command = CommandOf(options),
         .pictureStem = run.pictureStem,
         .lastPicture = options.png.path,
         .frames = options.frames,
         .events = run.events,
         .stop = &stop,
         .playlist = playlist ? &*playlist : nullptr,
         .fileDropped = [&](auto& path, auto& state) { next = OptionsForFile(options, path, state); },
         .sourceChanged = options.watch ? std::function([&] { return run.shader.Refresh(); }) : nullptr,
         .takeMessages =
             [&](bool load) {
                 auto lines = run.Messages(load);
                 run.capture.Clear();
                 return lines;
             }});
    if (playlist) {
        PrintFailedPicks(*playlist);
        WriteReport(options, status, {.failedPicks = playlist->Order().Failures()});
    }
    return status;
}

/// Passes the folder of --include to the module, or checks the one of the environment.
UserPath PublishIncludeFolder(const Options& options) {
    constexpr const wchar_t* kVariable = L"FOLDER_SHADERINCLUDE";
    UserPath folder = options.includeFolder;
    const wchar_t* const value = _wgetenv(kVariable);  // unaffected by SetEnvironmentVariableW
    const bool inherited = folder.name.empty() && value;
    if (inherited) {
        const std::filesystem::path joined = std::filesystem::path(FolderOf(options.source.path)) / value;
        folder = {ToUtf8(value), AbsolutePath(ToUtf8(joined.native()))};
    }
    const std::string fault = folder.name.empty()                      ? ""
                              : !IsExistingFolder(folder.path.c_str()) ? "not a folder"
                              : folder.path.size() >= kPathUnits       ? "too long"
                                                                       : "";
    if (!fault.empty() && !inherited) {
        throw HostError(ExitStatus::WrongUsage, "--include: " + folder.name + ": " + fault);
    }
    const std::string start = "preview: FOLDER_SHADERINCLUDE: ";
    if (!fault.empty()) {
        PrintLine(start + "the module ignores \"" + folder.name + "\": " + fault);
        folder = {};
    } else if (inherited && !std::filesystem::path(value).has_root_path()) {
        PrintLine(start + "\"" + folder.name +
                  "\" is a relative path; preview looks for it in the shader's folder, a host in its own "
                  "current folder");
        folder.name.insert(0, options.source.name, 0, options.source.name.find_last_of("/\\") + 1);
    }
    SetEnvironmentVariableW(kVariable, folder.path.empty() ? nullptr : folder.path.c_str());
    return folder;
}

OpenedShader OpenShader(const Options& options) {
    const UserPath includeFolder = PublishIncludeFolder(options);
    if (options.kind == SourceKind::Identifier) {
        return OpenedShader::OfIdentifier(options.source.name);
    }
    if (options.kind == SourceKind::Playlist) {
        PrintLines(PlaylistFaults(ReadInputFile(options.source.path), options.source.name));
        return OpenedShader::OfPlaylist(options.source.path);
    }
    OpenedShader shader = OpenedShader::OfFile(options.source, includeFolder, options.picturePath);
    if (!shader.Conversion().empty()) {
        PrintLine("preview: " + options.source.name + ": " + shader.Conversion());
    }
    return shader;
}

/// Otherwise a long run would be lost at its end, or the user's shader.
void RequireWritableOutputs(const Options& options) {
    std::vector<std::wstring> used = {options.source.path, options.events.path};
    const UserPath firstFrame = {options.framesFolder.name, NumberedPicture(options.framesFolder, 1)};
    for (const UserPath& output : {options.png, firstFrame, options.report, options.video, options.packed}) {
        if (output.name.empty() || output.name == kStandardOutput) {
            continue;
        }
        if (std::ranges::any_of(used,
                                [&](auto& path) { return EqualIgnoringAsciiCase(path, output.path); })) {
            throw HostError(ExitStatus::WrongUsage,
                            "writing " + output.name + " would overwrite an input or another output");
        }
        used.push_back(output.path);
        RequireWritable(output.path);
    }
}

/// Draws the shader once; `next` is the run that follows.
ExitStatus RunOnce(const Options& options, std::optional<Options>& next) {
    OpenedShader shader = OpenShader(options);
    RequireWritableOutputs(options);
    DebugCapture capture;
    std::optional<EventPlayer> events;
    if (!options.events.name.empty()) {
        events.emplace(ParseInputEvents(ReadInputFile(options.events.path), options.events.name));
    }
    const std::filesystem::path name(FromUtf8(options.source.name));
    const Run run{options, shader, capture, events ? &*events : nullptr,
                  AbsolutePath(ToUtf8(name.stem().native()))};
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
        PrintLines(run.Messages(false));
        throw;
    }
}

ExitStatus PackShader(const Options& options) {
    RequireWritableOutputs(options);
    const ShaderSource source = ReadShaderSource(options.source, {});
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
    GetEnvironmentVariableW(L"DAT_BASEFOLDER", folder, kPathUnits);
    const std::wstring file = folder + std::wstring(L"\\Pixelforge\\PixelforgeCache\\") + entry.name;
    if (DeleteFileW(file.c_str())) {
        std::printf("removed     %s\n", ToUtf8(file).c_str());
    } else if (GetLastError() == ERROR_FILE_NOT_FOUND || GetLastError() == ERROR_PATH_NOT_FOUND) {
        std::printf("removed     nothing: %s is not in the cache\n", identifier.c_str());
    } else {
        throw HostError(ExitStatus::Failed, WithLastError("cannot remove " + ToUtf8(file)));
    }
}

ExitStatus RunPreview(const Options& options) {
    if (!options.helpText.empty()) {
        std::fputs(options.helpText.c_str(), stdout);
        return ExitStatus::Drawn;
    }
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
