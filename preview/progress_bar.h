// How far a long run has come, on a terminal.
#pragma once

#include <chrono>

namespace pixelforge::preview {

/// Draws nothing when stderr is no console or the run is short. The line is wiped at the end.
class ProgressBar {
public:
    explicit ProgressBar(int total);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void Advance(int done);

private:
    int total_;
    bool onConsole_;
    bool drawn_ = false;
    std::chrono::steady_clock::time_point next_;
};

}  // namespace pixelforge::preview
