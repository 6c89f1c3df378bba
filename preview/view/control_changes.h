// Changes to a running session's settings by keys and the panel, with the words that tell the user about
// them.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "preview/host/host_session.h"
#include "preview/view/view_window.h"

namespace pixelforge::preview {

struct ControlChangesOptions {
    std::int32_t levelDivisor;  ///< the one that `ToggleLevels` switches on
    bool followClock = false;   ///< "Speed" is the time since the previous frame
    double scale = 1.0;         ///< frame size by window size

    /// Shows a line to the user.
    std::function<void(const std::wstring&)> report;
};

/// A change that conflicts with other controls is not made, and the reported line says why. A control that
/// the module lacks is ignored.
class ControlChanges {
public:
    /// The session and the view must outlive this.
    ControlChanges(HostSession& session, ViewWindow& view, ControlChangesOptions options)
        : session_(session), view_(view), options_(std::move(options)) {}

    std::vector<ViewKey> Keys();
    void Set(const ControlSetting& setting);
    void ChangeCount(const char* label, std::int32_t change);
    void Toggle(const char* label);
    void ToggleLevels();
    void ChangePace(double factor);
    void ChangeScale(double factor);
    void FollowClock(bool follow) noexcept { options_.followClock = follow; }

    /// True once after a change that the module notices only when it loads.
    bool TakeReload() { return std::exchange(reload_, false); }

    /// Those that differ from the module's defaults, without the playlist, what follows the clock, and the
    /// tile mask, which the module overwrites in each frame.
    std::vector<ControlSetting> Settings() const;

    /// The arguments of `preview` for these settings.
    std::string Arguments() const;

    double Scale() const noexcept { return options_.scale; }
    bool FollowsClock() const noexcept { return options_.followClock; }
    double Pace() const noexcept { return pace_; }  ///< shader time by clock time

private:
    HostSession& session_;
    ViewWindow& view_;
    ControlChangesOptions options_;
    bool reload_ = false;
    double pace_ = 1.0;
};

inline constexpr double kSmallestScale = 0.0625;
inline constexpr double kLargestScale = 4.0;

/// The frame size for a window of this size: at least one pixel, at most the largest bitmap's side.
SIZE ScaledSize(SIZE size, double scale);

/// In double quotes if a shell would split or expand it.
std::string QuotedArgument(const std::string& argument);

}  // namespace pixelforge::preview
