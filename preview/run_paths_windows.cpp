// Resolves the paths of a run and tests its outputs.
#include "preview/run_paths.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cwchar>

#include "base/file.h"
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

constexpr const wchar_t* kIncludeVariable = L"FOLDER_SHADERINCLUDE";

void PrintWarning(const std::string& text) {
    std::fprintf(stderr, "preview: %s\n", text.c_str());
}

IncludeFolder GivenIncludeFolder(const std::string& name) {
    const std::wstring path = AbsolutePath(name);
    if (!IsExistingFolder(path.c_str())) {
        throw HostError(ExitStatus::WrongUsage, "--include: " + name + " is not a folder");
    }
    if (path.size() >= kPathUnits) {
        throw HostError(ExitStatus::WrongUsage, "--include: the path is too long for the module");
    }
    return {path, name};
}

/// Of the environment, as the module reads it.
IncludeFolder InheritedIncludeFolder(const Paths& paths, const std::string& sourceName) {
    wchar_t value[kPathUnits] = {};
    const DWORD length = GetEnvironmentVariableW(kIncludeVariable, value, kPathUnits);
    if (length == 0) {
        return {};
    }
    const std::string name = length < kPathUnits ? ToUtf8(value) : std::string();
    const bool relative = name.find(':') != 1 && name.find_first_of("/\\") != 0;
    const std::wstring path = AbsolutePath(relative ? ToUtf8(FolderOf(paths.source)) + name : name);
    if (name.empty() || path.size() >= kPathUnits || !IsExistingFolder(path.c_str())) {
        PrintWarning("FOLDER_SHADERINCLUDE: the module ignores \"" + name +
                     "\": " + (name.empty() ? "too long" : "not a folder"));
        return {};
    }
    if (relative) {
        PrintWarning("FOLDER_SHADERINCLUDE: \"" + name +
                     "\" is a relative path; preview looks for it in the shader's folder, a host in its own "
                     "current folder");
    }
    const std::string beside = sourceName.substr(0, sourceName.find_last_of("/\\") + 1) + name;
    return {path, relative ? beside : name};
}

}  // namespace

const std::string& SourceName(const Options& options) {
    if (!options.shaderId.empty()) {
        return options.shaderId;
    }
    return options.documentPath.empty() ? options.playlistPath : options.documentPath;
}

Paths ResolvePaths(const Options& options) {
    Paths paths = {.source = AbsolutePath(SourceName(options)), .start = AbsolutePath(".")};
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

void SetIncludeFolder(const Options& options, Paths& paths) {
    paths.include = options.includeFolder.empty() ? InheritedIncludeFolder(paths, SourceName(options))
                                                  : GivenIncludeFolder(options.includeFolder);
    if (!paths.include.path.empty()) {
        SetEnvironmentVariableW(kIncludeVariable, paths.include.path.c_str());
    }
}

}  // namespace pixelforge::preview
