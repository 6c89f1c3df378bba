// The graph of frame times: in a corner of the live view, or as a picture of a whole run.
#pragma once

#include <windows.h>

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace pixelforge::preview {

/// One bar for each frame, the last on the right, with space for `slots` bars; frames that share a pixel
/// show the worst of them. A line marks 60 frames a second.
void DrawFrameGraph(HDC dc, const RECT& area, HFONT font, std::span<const double> milliseconds,
                    std::size_t slots);

/// The live view's graph, initially hidden.
class FrameGraph {
public:
    void Toggle() { shown_ = !shown_; }
    void Add(double milliseconds);

    /// In the lower right corner of a picture of this size.
    void Draw(HDC dc, SIZE size, HFONT font) const;

private:
    std::vector<double> times_;  ///< of the last frames
    bool shown_ = false;
};

/// Writes a PNG of the graph. Throws `HostError` with `Failed`.
void WriteFrameGraph(const std::wstring& absolutePath, std::span<const double> milliseconds);

}  // namespace pixelforge::preview
