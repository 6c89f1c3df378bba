// Resolves the paths of a run and tests its outputs.
#include "preview/run_paths.h"

#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <cwchar>
#include <initializer_list>

#include "base/file.h"
#include "base/load_error.h"
#include "base/text.h"
#include "preview/host/file_paths.h"
#include "preview/host/host_error.h"
#include "preview/host/playlist_lines.h"
#include "preview/video.h"
#include "preview/view/control_changes.h"

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

std::wstring IncludeVariable() {
    std::wstring value(GetEnvironmentVariableW(kIncludeVariable, nullptr, 0), L'\0');
    value.resize(GetEnvironmentVariableW(kIncludeVariable, value.data(), static_cast<DWORD>(value.size())));
    return value;
}

/// Of the environment, as the module reads it.
IncludeFolder InheritedIncludeFolder(const Paths& paths, const std::string& sourceName) {
    // Read only once: the first run replaces it, and a dropped shader may have another folder.
    static const std::wstring value = IncludeVariable();
    if (value.empty()) {
        return {};
    }
    const std::string name = value.size() < kPathUnits ? ToUtf8(value) : std::string();
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

bool HasExtension(const std::wstring& path, std::initializer_list<std::wstring_view> extensions) {
    return std::ranges::any_of(extensions, [&](std::wstring_view extension) {
        return path.size() > extension.size() &&
               EqualIgnoringAsciiCase(std::wstring_view(path).substr(path.size() - extension.size()),
                                      extension);
    });
}

}  // namespace

const std::string& SourceName(const Options& options) {
    if (!options.shaderId.empty()) {
        return options.shaderId;
    }
    return options.documentPath.empty() ? options.playlistPath : options.documentPath;
}

std::string CommandOf(const Options& options) {
    const char* const option = !options.shaderId.empty()       ? "--id "
                               : !options.playlistPath.empty() ? "--playlist "
                                                               : "";
    const std::string& include = options.includeFolder;
    return std::string("preview ") + option + QuotedArgument(SourceName(options)) +
           (include.empty() ? std::string() : " --include " + QuotedArgument(include));
}

Options OptionsForFile(const Options& options, const std::wstring& path, const ViewState& state) {
    const std::string bytes = ReadInputFile(path);
    Options next = options;
    next.settings = state.settings;
    next.fullScreen = state.fullScreen;
    if (!state.fullScreen && state.width > 0 && state.height > 0) {
        next.width = state.width;
        next.height = state.height;
    }
    next.scale = state.scale;
    next.place = state.place;
    if (HasExtension(path, {L".png", L".jpg", L".jpeg", L".bmp", L".gif", L".tif", L".tiff"})) {
        if (options.documentPath.empty()) {
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
    next.shaderId.clear();
    next.picturePath.clear();
    next.documentPath = playlist ? std::string() : ToUtf8(path);
    next.playlistPath = playlist ? ToUtf8(path) : std::string();
    return next;
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
    const std::wstring& path = paths.include.path;
    SetEnvironmentVariableW(kIncludeVariable, path.empty() ? nullptr : path.c_str());
}

}  // namespace pixelforge::preview
