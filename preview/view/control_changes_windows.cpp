// Tile counts, switches and level output.
#include "preview/view/control_changes.h"

#include <algorithm>
#include <utility>

#include "base/text.h"

namespace pixelforge::preview {

std::wstring ControlChanges::ChangeCount(std::string_view label, std::int32_t change) {
    ControlRecord* control = session_.Control(label);
    if (!control) {
        return {};
    }
    std::int32_t& count = control->whole.value[0];
    const auto [least, most] = control->whole.bounds[0];
    const std::int32_t previous = std::exchange(count, std::clamp(count + change, least, most));
    return ReportOrUndo(FromUtf8(label) + L" " + std::to_wstring(count), [&] { count = previous; });
}

std::wstring ControlChanges::Toggle(std::string_view label) {
    ControlRecord* control = session_.Control(label);
    if (!control) {
        return {};
    }
    std::int32_t& on = control->toggle.value[1];
    const std::int32_t previous = std::exchange(on, on != 0 ? 0 : 1);
    return ReportOrUndo(FromUtf8(label) + (on != 0 ? L" on" : L" off"), [&] { on = previous; });
}

std::wstring ControlChanges::ToggleLevels() {
    const bool on = session_.Context().levelOutput == 0;
    session_.SetLevels(on ? levelDivisor_ : 0);
    return ReportOrUndo(on ? L"Level output, divisor " + std::to_wstring(levelDivisor_) : L"Colours",
                        [&] { session_.SetLevels(0); });
}

std::wstring ControlChanges::ReportOrUndo(const std::wstring& report, const std::function<void()>& undo) {
    const std::string conflict = session_.Conflict();
    if (conflict.empty()) {
        return report;
    }
    undo();
    return FromUtf8(conflict);
}

}  // namespace pixelforge::preview
