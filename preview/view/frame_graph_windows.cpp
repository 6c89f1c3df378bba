// Draws the graph of frame times with GDI.
#include "preview/view/frame_graph.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>
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

/// Of a run's picture.
constexpr int kPictureWidth = 960;
constexpr int kPictureHeight = 270;

void Fill(HDC dc, const RECT& area, COLORREF color) {
    const UniqueBrush brush(CreateSolidBrush(color));
    FillRect(dc, &area, brush.Get());
}

void DrawCaption(HDC dc, RECT area, HFONT font, double median, double worst, double top) {
    wchar_t text[160];
    std::swprintf(text, std::size(text), L"median %.1f, worst %.1f, top %.0f ms; line 60/s", median, worst,
                  top);
    const GdiSelection selection(dc, font);
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, kLine);
    InflateRect(&area, -4, 0);
    DrawTextW(dc, text, -1, &area, DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX | DT_END_ELLIPSIS);
}

}  // namespace

void DrawFrameGraph(HDC dc, const RECT& area, HFONT font, std::span<const double> milliseconds,
                    std::size_t frames) {
    std::vector<std::pair<double, std::size_t>> bars;  // times and places, the fastest first
    for (const double time : milliseconds) {
        bars.emplace_back(time, frames - milliseconds.size() + bars.size());
    }
    std::ranges::sort(bars);
    const double median = bars.empty() ? 0.0 : bars[bars.size() / 2].first;
    const double worst = bars.empty() ? 0.0 : bars.back().first;
    double top = 2.0 * kSixtieth;
    while (top < worst) {
        top *= 2.0;  // so that it changes rarely
    }
    Fill(dc, area, kBackground);
    const LONG width = area.right - area.left;
    const LONG height = area.bottom - area.top - kTextHeight;
    const auto rowOf = [&](double time) { return area.bottom - std::lround(time / top * height); };
    const auto columnOf = [&](std::size_t place) {
        return area.left + static_cast<LONG>(place * static_cast<std::size_t>(width) / frames);
    };
    for (const auto& [time, place] : bars) {
        const LONG right = std::max(columnOf(place + 1), columnOf(place) + 1);
        const COLORREF color = time <= kSixtieth ? kInTime : time <= 2.0 * kSixtieth ? kLate : kVeryLate;
        Fill(dc, {columnOf(place), rowOf(time), right, area.bottom}, color);
    }
    Fill(dc, {area.left, rowOf(kSixtieth), area.right, rowOf(kSixtieth) + 1}, kLine);
    DrawCaption(dc, {area.left, area.top, area.right, area.top + kTextHeight}, font, median, worst, top);
}

void WriteFrameGraph(const std::wstring& absolutePath, std::span<const double> milliseconds) {
    const HostSurface surface(kPictureWidth, kPictureHeight);
    const GdiSelection bitmap(surface.DeviceContext(), surface.Bitmap());
    DrawFrameGraph(surface.DeviceContext(), {0, 0, kPictureWidth, kPictureHeight},
                   static_cast<HFONT>(GetStockObject(DEFAULT_GUI_FONT)), milliseconds, milliseconds.size());
    WritePng(absolutePath, surface.Pixels());
}

}  // namespace pixelforge::preview
