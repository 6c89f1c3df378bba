// The graph of frame times: in a corner of the live view, or as a picture of a whole run.
#pragma once

#include <windows.h>

#include <cstddef>
#include <span>
#include <string>

namespace pixelforge::preview {

/// One bar for each time, the last on the right, in an area with space for `frames` of them; times that share
/// a pixel show the worst of them. A line marks 60 frames a second.
void DrawFrameGraph(HDC dc, const RECT& area, HFONT font, std::span<const double> milliseconds,
                    std::size_t frames);

/// Writes a PNG of the graph. Throws `HostError` with `Failed`.
void WriteFrameGraph(const std::wstring& absolutePath, std::span<const double> milliseconds);

}  // namespace pixelforge::preview
