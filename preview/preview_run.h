// The command's work from its options to its exit status.
#pragma once

#include "preview/host/host_error.h"
#include "preview/options.h"

namespace pixelforge::preview {

/// Draws the shader, writes picture and report, prints the module's messages to stderr and a summary to
/// stdout. Changes the current folder while it runs. Throws `HostError` for what ends the run early.
ExitStatus RunPreview(const Options& options);

}  // namespace pixelforge::preview
