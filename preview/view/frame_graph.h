// The graph of frame times: in a corner of the live view, or as a picture of a whole run.
#pragma once

#include <windows.h>

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace pixelforge::preview {

/// One bar for each frame, the last on the right; frames that share a pixel show the worst of them. A line
/// marks 60 frames a second.
class FrameGraph {
public:
    /// Has space for this many frames and shows the last ones.
    explicit FrameGraph(std::size_t frames) : frames_(frames) {}

    void Add(double milliseconds);
    void Draw(HDC dc, const RECT& area, HFONT font) const;

private:
    std::size_t frames_;
    std::vector<double> times_;
};

/// Writes a PNG of the graph. Throws `HostError` with `Failed`.
void WriteFrameGraph(const std::wstring& absolutePath, std::span<const double> milliseconds);

}  // namespace pixelforge::preview
