// Which OpenGL a context of this process gets.
#pragma once

#include <string>

namespace pixelforge::preview {

/// Texts of the driver; empty when no context could be made.
struct GlInfo {
    std::string version;
    std::string renderer;
    std::string vendor;
};

/// Asks a context of its own on a hidden window, in the same pixel format as the module's; takes some
/// tenths of a second. The calling thread's current context is put back.
GlInfo QueryGlInfo();

}  // namespace pixelforge::preview
