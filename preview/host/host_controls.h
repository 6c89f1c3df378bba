// The host's side of the settings: it hands out control records, lists them and changes their values.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "module/host_abi.h"

namespace pixelforge::preview {

/// One "Label=value" of the user, in UTF-8.
struct ControlSetting {
    std::string label;
    std::string value;
};

/// The two texts in a control's names field, in UTF-8. A group header has no label.
struct ControlNames {
    std::string group;
    std::string label;
};

ControlNames ReadControlNames(const ControlRecord& control);

/// The value that the module reads, as the user would write it.
std::string ControlValueText(const ControlRecord& control);

/// The values that the user may give.
std::string ControlRangeText(const ControlRecord& control);

/// Writes the value that the module reads. False, with the record unchanged, when the text does not fit
/// the control's kind or lies outside its first pair of bounds.
bool WriteControlValue(ControlRecord& control, std::string_view value);

/// Owner of the records that the module fills. They stay at their addresses as long as this lives.
class HostControls {
public:
    /// The host's allocating function; `hostContext` is the `HostControls`. The record is filled with
    /// a byte pattern: a host promises no zeroed memory.
    static ControlRecord* Allocate(void* hostContext) noexcept;

    /// Null for an unknown label.
    ControlRecord* Find(std::string_view label) const;

    /// Throws `HostError` with `WrongUsage` for an unknown label or a value that does not fit.
    void Apply(const ControlSetting& setting);

    /// One line for each label: its value and what it may be set to.
    std::string Listing() const;

    const std::vector<std::unique_ptr<ControlRecord>>& Records() const noexcept { return records_; }

private:
    std::vector<std::unique_ptr<ControlRecord>> records_;
};

}  // namespace pixelforge::preview
