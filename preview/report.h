// The run in figures, as JSON.
#pragma once

#include <string>
#include <vector>

#include "preview/frame_statistics.h"
#include "preview/gl_info.h"

namespace pixelforge::preview {

struct Report {
    std::string shader;  ///< document or playlist
    std::int32_t width = 0;
    std::int32_t height = 0;
    int exitStatus = 0;
    GlInfo gl;
    std::vector<FrameRecord> frames;
    std::vector<std::string> debugLines;
};

/// UTF-8, indented, with a line end.
std::string ReportJson(const Report& report);

}  // namespace pixelforge::preview
