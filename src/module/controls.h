// The settings that the module declares to the host, and how their current values are read.
#pragma once

#include <span>
#include <string_view>

#include "module/host_abi.h"
#include "module/module_instance.h"

namespace pixelforge {

/// One row of the control table. Texts hold their closing NULs.
struct ControlRow {
    ControlKind kind;
    std::wstring_view names;        ///< group NUL label NUL NUL
    std::wstring_view description;  ///< text NUL NUL
    std::uint32_t options;
    std::int32_t hostPair[2];
    double bounds[6];  ///< a switch uses the first two
    double value[2];
    ControlRecord** (*slot)(ModuleInstance&);  ///< where the instance keeps the record; null for headers
};

namespace control {
extern const ControlRow kSpeed, kPlaylistFiles, kFastBuffers, kMultiSample, kInfoTime, kForegroundOnly,
    kStartingIndex;
extern const ControlRow kColorIndex, kProgressionRate, kAlternateColors;
extern const ControlRow kXTiling, kYTiling, kMirroring, kTileMask;
extern const ControlRow kDrawEvent, kResetEvent, kMinResetTime;
}  // namespace control

/// Every row in the order of creation: "General", "Color", "Tiling", "Drawing", each with its header first.
std::span<const ControlRow* const> ControlTable() noexcept;

/// Asks the host for one record per row, fills it and keeps its pointer. A record that the host does not
/// hand out is left out; the others are still created. The host's record need not be zeroed.
void BuildControls(ModuleInstance& instance, AllocateControl allocate, void* hostContext);

/// Copies a text that ends in two NULs, both included, and clears the rest of the field. A text without
/// that end within the field's 260 units is copied as empty.
void CopyDoubleTerminated(wchar_t (&field)[kHostTextUnits], std::wstring_view text) noexcept;

/// Current values; a control that the host left out has its default.
std::int32_t WholeValue(ModuleInstance& instance, const ControlRow& row) noexcept;
float DecimalValue(ModuleInstance& instance, const ControlRow& row) noexcept;
bool SwitchValue(ModuleInstance& instance, const ControlRow& row) noexcept;

}  // namespace pixelforge
