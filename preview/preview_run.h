// Runs the command: options in, exit status out.
#pragma once

#include <string>

#include "preview/host/host_error.h"
#include "preview/options.h"

namespace pixelforge::preview {

/// Draws the shader, writes picture and report, prints the module's messages to stderr and a summary to
/// stdout. Changes the current folder while it runs. Throws `HostError`.
ExitStatus RunPreview(const Options& options);

/// Removes a shader's cached document (identifier in UTF-8), so that its next load queries the service, and
/// prints what it did. Throws `HostError`, with `WrongUsage` for an invalid identifier.
void ForgetCachedShader(const std::string& identifier);

}  // namespace pixelforge::preview
