// Changes to a running session's controls, with the words that tell the user about them.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "preview/host/host_session.h"

namespace pixelforge::preview {

/// Each change returns a line for the user. A change that conflicts with other controls is not made, and the
/// line says why. The line is empty for a control that the module lacks.
class ControlChanges {
public:
    /// The divisor is the one that `ToggleLevels` switches on.
    ControlChanges(HostSession& session, std::int32_t levelDivisor)
        : session_(session), levelDivisor_(levelDivisor) {}

    /// A whole number, kept within its bounds.
    std::wstring ChangeCount(std::string_view label, std::int32_t change);
    std::wstring Toggle(std::string_view label);
    std::wstring ToggleLevels();

private:
    std::wstring ReportOrUndo(const std::wstring& report, const std::function<void()>& undo);

    HostSession& session_;
    std::int32_t levelDivisor_;
};

}  // namespace pixelforge::preview
