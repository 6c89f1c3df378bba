// The host's control records: allocates them for the module, lists them and sets their values.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "module/host_abi.h"

namespace pixelforge::preview {

/// One "Label=value" from the user, in UTF-8.
struct ControlSetting {
    std::string label;
    std::string value;
};

/// The control's value as the user would write it.
std::string ControlValueText(const ControlRecord& control);

/// Empty for a group header.
std::string ControlLabel(const ControlRecord& control);

/// For a group header its own name.
std::string ControlGroup(const ControlRecord& control);
std::string ControlDescription(const ControlRecord& control);

/// The values that `HostControls::Apply` accepts, for the user; empty for a group header.
std::string ControlRangeText(const ControlRecord& control);

/// Owns the records that the module fills in. Their addresses are stable while this lives.
class HostControls {
public:
    /// The host's allocation function; `hostContext` is the `HostControls`. The record holds a byte
    /// pattern, because a host need not provide zeroed memory.
    static ControlRecord* Allocate(void* hostContext) noexcept;

    /// Null for an unknown label.
    ControlRecord* Find(std::string_view label) const;

    /// Throws `HostError` with `WrongUsage` for an unknown label, and for a value of the wrong type or
    /// outside the control's first pair of bounds, which leaves the record unchanged.
    void Apply(const ControlSetting& setting);

    const std::vector<std::unique_ptr<ControlRecord>>& Records() const noexcept { return records_; }

    /// Makes the current values those that `Changed` compares with.
    void KeepDefaults();
    std::vector<ControlSetting> Changed() const;

private:
    std::string Listing() const;

    std::vector<std::unique_ptr<ControlRecord>> records_;
    std::vector<std::string> defaults_;  ///< for each record
};

}  // namespace pixelforge::preview
