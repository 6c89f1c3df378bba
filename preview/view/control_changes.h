// Changes to a running session's settings by keys and the panel, with the words that tell the user about
// them.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "preview/host/host_session.h"
#include "preview/view/control_panel.h"
#include "preview/view/view_window.h"

namespace pixelforge::preview {

struct ControlChangesOptions {
    std::int32_t levelDivisor;  ///< the one that the key for levels switches on
    bool followClock = false;   ///< "Speed" is the time since the previous frame
    double scale = 1.0;         ///< frame size by window size

    /// The command line that opens the shader, without settings. May be empty.
    std::function<std::string()> command = {};

    /// Shows a line to the user.
    std::function<void(const std::wstring&)> report;
};

/// A change that conflicts with other controls is not made, and the reported line says why. The line is empty
/// for a control that the module lacks.
class ControlChanges {
public:
    /// Both must outlive this.
    ControlChanges(HostSession& session, ViewWindow& view, ControlChangesOptions options);

    /// Does nothing for a command that is not about settings.
    void Execute(ViewCommand command);

    /// True once after a change that the module notices only when it loads.
    bool TakeReload() { return std::exchange(reload_, false); }

    /// Brings the panel up to date; cheap while it is hidden.
    void RefreshPanel();

    /// The size of frames for the window's current size, at least one pixel.
    SIZE FrameSize() const;

    /// Those that differ from the module's defaults, without the playlist, what follows the clock, and the
    /// tile mask, which the module overwrites in each frame.
    std::vector<ControlSetting> Settings() const;

    double Scale() const noexcept { return scale_; }
    bool FollowsClock() const noexcept { return followClock_; }
    double Pace() const noexcept { return pace_; }  ///< shader time by clock time

private:
    std::wstring ChangeCount(const char* label, std::int32_t change);
    std::wstring Toggle(const char* label);
    std::wstring ToggleLevels();
    std::wstring TogglePanel();
    std::wstring ChangePace(double factor);
    std::wstring ChangeScale(double factor);
    std::wstring CopyCommandLine();
    std::wstring Set(const ControlSetting& setting);
    std::string CommandLine();
    std::wstring ReportOrUndo(const std::wstring& report, const std::function<void()>& undo);

    HostSession& session_;
    ViewWindow& view_;
    const ControlChangesOptions options_;
    std::optional<ControlPanel> panel_;
    bool followClock_;
    bool reload_ = false;
    double pace_ = 1.0;
    double scale_;
};

inline constexpr double kSmallestScale = 0.0625;
inline constexpr double kLargestScale = 4.0;

/// The frame size for a window of this size: at least one pixel, at most the largest bitmap's side.
SIZE ScaledSize(SIZE size, double scale);

/// In double quotes if a shell would split or expand it.
std::string QuotedArgument(const std::string& argument);

}  // namespace pixelforge::preview
