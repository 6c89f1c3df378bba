// Draws and wipes the progress bar.
#include "preview/progress_bar.h"

#include <windows.h>

#include <cstdio>
#include <string>

namespace pixelforge::preview {
namespace {

constexpr auto kFirst = std::chrono::milliseconds(1000);
constexpr auto kInterval = std::chrono::milliseconds(200);
constexpr std::size_t kCells = 40;

bool StderrIsConsole() {
    DWORD mode = 0;
    return GetConsoleMode(GetStdHandle(STD_ERROR_HANDLE), &mode) != FALSE;
}

}  // namespace

ProgressBar::ProgressBar(int total)
    : total_(total), onConsole_(StderrIsConsole()), next_(std::chrono::steady_clock::now() + kFirst) {}

ProgressBar::~ProgressBar() {
    if (drawn_) {
        std::fprintf(stderr, "\r%60s\r", "");
    }
}

void ProgressBar::Advance(int done) {
    const auto now = std::chrono::steady_clock::now();
    if (!onConsole_ || now < next_) {
        return;
    }
    next_ = now + kInterval;
    drawn_ = true;
    const auto cells =
        static_cast<std::size_t>(static_cast<long long>(done) * static_cast<long long>(kCells) / total_);
    const std::string bar = std::string(cells, '#') + std::string(kCells - cells, '.');
    std::fprintf(stderr, "\r[%s] %d of %d", bar.c_str(), done, total_);
    std::fflush(stderr);
}

}  // namespace pixelforge::preview
