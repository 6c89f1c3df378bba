// Changes to a running session's settings by keys and the panel.
#pragma once

#include <windows.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "preview/host/host_session.h"
#include "preview/view/view_window.h"

namespace pixelforge::preview {

/// A change that conflicts with other controls is not made, and the reported line says why.
class ControlChanges {
public:
    /// Keeps levels, clock and scale of the state up to date; session and state must outlive this. `report`
    /// shows a line to the user.
    ControlChanges(HostSession& session, ViewState& state, std::function<void(const std::wstring&)> report);

    std::vector<ViewKey> Keys();
    void Set(const ControlSetting& setting);
    void ChangePace(double factor);
    void ChangeScale(double factor);

    /// True once after a change that the module notices only when it loads.
    bool TakeReload() { return std::exchange(reload_, false); }

    /// Those that differ from the module's defaults, without the playlist, what follows the clock, and the
    /// tile mask, which the module overwrites in each frame.
    std::vector<ControlSetting> Settings() const;

    /// Command-line arguments that reproduce the state and the settings.
    std::string Arguments() const;

    ViewState& State() noexcept { return state_; }
    double Pace() const noexcept { return pace_; }  ///< shader time by clock time

private:
    void Change(const char* label, std::int32_t change);
    void ToggleLevels();

    HostSession& session_;
    ViewState& state_;
    std::function<void(const std::wstring&)> report_;
    std::int32_t levelDivisor_;  ///< while level output is on, see `ToggleLevels`
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
