// The settings that the module declares to the host, and their current values.
#pragma once

#include <span>
#include <string_view>

#include "module/host_abi.h"
#include "module/module_instance.h"

namespace pixelforge {

/// One row of the control table. Texts include their terminating NULs.
struct ControlRow {
    ControlKind kind;
    std::wstring_view names;        ///< group NUL label NUL NUL
    std::wstring_view description;  ///< text NUL NUL
    std::uint32_t options;
    std::int32_t hostPair[2];
    double bounds[6];  ///< a switch uses the first two
    double value[2];
    ControlRecord** (*slot)(ModuleInstance&);  ///< the instance's pointer to the record; null for headers
};

namespace control {
extern const ControlRow kSpeed, kPlaylistFiles, kFastBuffers, kMultiSample, kInfoTime, kForegroundOnly,
    kStartingIndex;
extern const ControlRow kColorIndex, kProgressionRate, kAlternateColors;
extern const ControlRow kXTiling, kYTiling, kMirroring, kTileMask;
extern const ControlRow kDrawEvent, kResetEvent, kMinResetTime;
}  // namespace control

/// All rows in the order of creation: "General", "Color", "Tiling", "Drawing", each with its header first.
std::span<const ControlRow* const> ControlTable() noexcept;

/// Allocates one record per row from the host, fills it and stores its pointer in the instance. Rows for
/// which the host returns null are skipped. The host's records need not be zeroed.
void BuildControls(ModuleInstance& instance, AllocateControl allocate, void* hostContext);

/// Current values; the default for a control that the host skipped.
std::int32_t WholeValue(ModuleInstance& instance, const ControlRow& row) noexcept;
float DecimalValue(ModuleInstance& instance, const ControlRow& row) noexcept;
bool SwitchValue(ModuleInstance& instance, const ControlRow& row) noexcept;

}  // namespace pixelforge
