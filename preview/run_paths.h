// The files of a run: absolute paths, and the test that its outputs can be written.
#pragma once

#include <iterator>
#include <string>

#include "preview/documents/shader_source.h"
#include "preview/options.h"

namespace pixelforge::preview {

/// Absolute, because the current folder changes to the shader's. Empty for missing options.
struct Paths {
    std::wstring source;
    IncludeFolder include = {};
    std::wstring start;  ///< the initial current folder
    std::wstring outputs[std::size(kOutputs)] = {};

    const std::wstring& Of(Output output) const { return outputs[static_cast<std::size_t>(output)]; }
};

/// The document, playlist or identifier that the user named.
const std::string& SourceName(const Options& options);

/// The command line that opens the shader, without its settings.
std::string CommandOf(const Options& options);

/// For the view that follows when this file is dropped on the window: a playlist, a picture for channel 0 of
/// the current shader, or else a shader. Throws `HostError` if the file cannot be used.
Options OptionsForFile(const Options& options, const std::wstring& path, const ViewState& state);

/// "-" for a video to standard output.
Paths ResolvePaths(const Options& options);

/// Passes the folder of --include to the module. Without the option, reads the variable as the module does
/// and prints what is wrong with it. Throws `HostError` with `WrongUsage` for a folder that cannot be used.
void SetIncludeFolder(const Options& options, Paths& paths);

/// "DIR\frame-00001.png" and so on.
std::wstring NumberedPicture(const std::wstring& folder, int number);

/// Both throw `HostError` with `WrongUsage`. Without them a long run would be lost at its end.
void RequireWritableOutput(const char* option, const std::wstring& path);
void RequireWritableOutputs(const Paths& paths);

}  // namespace pixelforge::preview
