// Draws the graph of frame times with GDI.
#include "preview/view/frame_graph.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "base/win_handles.h"
#include "preview/host/host_surface.h"

namespace pixelforge::preview {
namespace {

constexpr double kSixtieth = 1000.0 / 60.0;  // milliseconds
constexpr COLORREF kBackground = RGB(16, 20, 28);
constexpr COLORREF kInTime = RGB(80, 200, 120);
constexpr COLORREF kLate = RGB(240, 180, 60);
constexpr COLORREF kVeryLate = RGB(230, 80, 70);  // more than one frame lost
constexpr COLORREF kLine = RGB(255, 255, 255);
constexpr int kTextHeight = 22;
constexpr int kTextMargin = 4;

/// Of a run's picture.
constexpr int kPictureWidth = 960;
constexpr int kPictureHeight = 270;

void Fill(HDC dc, const RECT& area, COLORREF color) {
    const UniqueBrush brush(CreateSolidBrush(color));
    FillRect(dc, &area, brush.Get());
}

COLORREF ColorOf(double milliseconds) {
    return milliseconds <= kSixtieth ? kInTime : milliseconds <= 2.0 * kSixtieth ? kLate : kVeryLate;
}

std::vector<double> WorstOfEachColumn(std::span<const double> times, std::size_t columns) {
    columns = std::min(columns, times.size());
    std::vector<double> worst;
    for (std::size_t column = 0; column < columns; ++column) {
        const std::size_t first = column * times.size() / columns;
        const std::size_t end = (column + 1) * times.size() / columns;
        worst.push_back(std::ranges::max(times.subspan(first, end - first)));
    }
    return worst;
}

/// Doubles from 30 frames a second, so that the scale changes rarely.
double ScaleFor(std::span<const double> times) {
    double scale = 2.0 * kSixtieth;
    while (!times.empty() && scale < std::ranges::max(times)) {
        scale *= 2.0;
    }
    return scale;
}

std::wstring Caption(std::span<const double> times, double scale) {
    std::vector<double> sorted(times.begin(), times.end());
    std::ranges::sort(sorted);
    const bool any = !sorted.empty();
    wchar_t text[160];
    std::swprintf(text, std::size(text), L"median %.1f, worst %.1f, top %.0f ms; line 60/s",
                  any ? sorted[sorted.size() / 2] : 0.0, any ? sorted.back() : 0.0, scale);
    return text;
}

}  // namespace

void DrawFrameGraph(HDC dc, const RECT& area, HFONT font, std::span<const double> milliseconds,
                    std::size_t frames) {
    Fill(dc, area, kBackground);
    const LONG width = area.right - area.left;
    const LONG height = area.bottom - area.top - kTextHeight;
    if (width < 1 || height < 1) {
        return;
    }
    const auto columns = std::clamp<std::size_t>(frames, 1, static_cast<std::size_t>(width));
    const std::vector<double> bars = WorstOfEachColumn(milliseconds, columns);
    const double scale = ScaleFor(bars);
    const auto rows = [&](double time) { return static_cast<LONG>(time / scale * height + 0.5); };
    const LONG barWidth = width / static_cast<LONG>(columns);
    LONG x = area.right - barWidth * static_cast<LONG>(bars.size());
    for (const double time : bars) {
        Fill(dc, {x, area.bottom - rows(time), x + barWidth, area.bottom}, ColorOf(time));
        x += barWidth;
    }
    const LONG line = area.bottom - rows(kSixtieth);
    Fill(dc, {area.left, line, area.right, line + 1}, kLine);
    const GdiSelection selection(dc, font);
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, kLine);
    RECT caption = {area.left + kTextMargin, area.top, area.right - kTextMargin, area.top + kTextHeight};
    DrawTextW(dc, Caption(milliseconds, scale).c_str(), -1, &caption,
              DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX | DT_END_ELLIPSIS);
}

void WriteFrameGraph(const std::wstring& absolutePath, std::span<const double> milliseconds) {
    const HostSurface surface(kPictureWidth, kPictureHeight);
    {
        const GdiSelection bitmap(surface.DeviceContext(), surface.Bitmap());
        DrawFrameGraph(surface.DeviceContext(), {0, 0, kPictureWidth, kPictureHeight},
                       static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT)), milliseconds,
                       milliseconds.size());
        GdiFlush();
    }
    WritePng(absolutePath, surface.Pixels());
}

}  // namespace pixelforge::preview
