// The OpenGL implementation that contexts of this process get.
#pragma once

#include <string>

namespace pixelforge::preview {

/// The driver's strings; empty if no context could be created.
struct GlInfo {
    std::string version;
    std::string renderer;
    std::string vendor;
};

/// Queries a temporary context on a hidden window, in the module's pixel format; takes some tenths of a
/// second. Restores the thread's current context.
GlInfo QueryGlInfo();

}  // namespace pixelforge::preview
