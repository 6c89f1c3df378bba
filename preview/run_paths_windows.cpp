// Resolves the paths of a run and tests its outputs.
#include "preview/run_paths.h"

#include <algorithm>
#include <cwchar>

#include "base/load_error.h"
#include "base/text.h"
#include "preview/host/file_paths.h"
#include "preview/host/host_error.h"
#include "preview/video.h"

namespace pixelforge::preview {
namespace {

std::wstring AbsoluteOrEmpty(const std::string& path) {
    return path.empty() ? std::wstring() : AbsolutePath(path);
}

}  // namespace

const std::string& SourceName(const Options& options) {
    if (!options.shaderId.empty()) {
        return options.shaderId;
    }
    return options.documentPath.empty() ? options.playlistPath : options.documentPath;
}

Paths ResolvePaths(const Options& options) {
    Paths paths = {.source = AbsolutePath(SourceName(options)),
                   .include = AbsoluteOrEmpty(options.includeFolder),
                   .start = AbsolutePath(".")};
    std::ranges::transform(kOutputs, paths.outputs,
                           [&](const OutputRow& row) { return AbsoluteOrEmpty(options.*row.path); });
    if (FromUtf8(options.videoPath) == kStandardOutput) {
        paths.outputs[static_cast<std::size_t>(Output::Video)] = kStandardOutput;
    }
    return paths;
}

std::wstring NumberedPicture(const std::wstring& folder, int number) {
    wchar_t name[32];
    std::swprintf(name, 32, L"\\frame-%05d.png", number);
    return folder + name;
}

void RequireWritableOutput(const char* option, const std::wstring& path) {
    const std::string failure = FailureOf([&] { RequireWritable(path); });
    if (!failure.empty()) {
        throw HostError(ExitStatus::WrongUsage, std::string(option) + ": " + failure);
    }
}

void RequireWritableOutputs(const Paths& paths) {
    for (std::size_t i = 0; i < std::size(kOutputs); ++i) {
        const std::wstring& path = paths.outputs[i];
        if (!path.empty() && path != kStandardOutput) {
            RequireWritableOutput(kOutputs[i].option, kOutputs[i].folder ? NumberedPicture(path, 1) : path);
        }
    }
}

}  // namespace pixelforge::preview
