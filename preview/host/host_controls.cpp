// Reads, lists and sets the values in control records.
#include "preview/host/host_controls.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstring>
#include <optional>
#include <span>
#include <type_traits>

#include "base/text.h"
#include "preview/host/host_error.h"

namespace pixelforge::preview {
namespace {

constexpr int kFillByte = 0xCD;
constexpr std::int32_t kMaximumGridSide = 32;

std::wstring_view TextUpToNul(std::wstring_view field) {
    return field.substr(0, field.find(L'\0'));
}

template <class Number>
std::optional<Number> ParseNumber(std::string_view text) {
    Number number = {};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return number;
}

std::optional<bool> ParseSwitch(std::string_view text) {
    std::string word(text);
    std::ranges::transform(word, word.begin(), [](unsigned char c) { return std::tolower(c); });
    if (word == "true" || word == "on" || word == "yes" || word == "1") {
        return true;
    }
    if (word == "false" || word == "off" || word == "no" || word == "0") {
        return false;
    }
    return std::nullopt;
}

template <class Number>
std::string NumberText(Number number) {
    char digits[32];
    const auto [end, error] = std::to_chars(std::begin(digits), std::end(digits), number);
    return error == std::errc() ? std::string(digits, end) : std::string();
}

template <class Area>
std::string BoundsText(const Area& area) {
    return NumberText(area.bounds[0][0]) + " to " + NumberText(area.bounds[0][1]);
}

template <class Area>
bool WriteNumber(Area& area, std::string_view text) {
    using Number = std::remove_reference_t<decltype(area.value[0])>;
    const auto number = ParseNumber<Number>(text);
    if (!number || !(*number >= area.bounds[0][0] && *number <= area.bounds[0][1])) {
        return false;
    }
    area.value[0] = *number;
    return true;
}

bool WriteSwitch(SwitchArea& area, std::string_view text) {
    const auto on = ParseSwitch(text);
    if (on) {
        area.value[1] = *on ? 1 : 0;
    }
    return on.has_value();
}

bool WriteFileName(FileListArea& area, std::string_view text) {
    const auto name = Widen(text, TextEncoding::Utf8);
    if ((!name && !text.empty()) || (name && name->size() >= kHostTextUnits)) {
        return false;
    }
    CopyCut(area.fileName, name.value_or(std::wstring()));
    return true;
}

bool WriteGrid(BitMaskArea& area, std::string_view text) {
    const std::size_t cross = text.find('x');
    if (cross == std::string_view::npos) {
        return false;
    }
    const auto columns = ParseNumber<std::int32_t>(text.substr(0, cross));
    const auto rows = ParseNumber<std::int32_t>(text.substr(cross + 1));
    if (!columns || !rows || *columns < 1 || *rows < 1 || *columns > kMaximumGridSide ||
        *rows > kMaximumGridSide) {
        return false;
    }
    area.gridSize[0] = *columns;
    area.gridSize[1] = *rows;
    return true;
}

bool WriteValue(ControlRecord& control, std::string_view value) {
    switch (control.kind) {
        case ControlKind::GroupHeader:
            return false;
        case ControlKind::WholeNumber:
            return WriteNumber(control.whole, value);
        case ControlKind::DecimalNumber:
            return WriteNumber(control.decimal, value);
        case ControlKind::Switch:
            return WriteSwitch(control.toggle, value);
        case ControlKind::FileList:
            return WriteFileName(control.files, value);
        case ControlKind::BitMask:
            return WriteGrid(control.mask, value);
    }
    return false;
}

}  // namespace

std::string ControlValueText(const ControlRecord& control) {
    switch (control.kind) {
        case ControlKind::GroupHeader:
            return {};
        case ControlKind::WholeNumber:
            return NumberText(control.whole.value[0]);
        case ControlKind::DecimalNumber:
            return NumberText(control.decimal.value[0]);
        case ControlKind::Switch:
            return control.toggle.value[1] != 0 ? "true" : "false";
        case ControlKind::FileList:
            return ToUtf8(TextUpToNul(std::wstring_view(control.files.fileName, kHostTextUnits)));
        case ControlKind::BitMask:
            return NumberText(control.mask.gridSize[0]) + "x" + NumberText(control.mask.gridSize[1]);
    }
    return {};
}

/// The names field holds the group's name and the label.
std::string ControlLabel(const ControlRecord& control) {
    const std::wstring_view field(control.names, kHostTextUnits);
    const std::size_t groupUnits = TextUpToNul(field).size();
    return groupUnits + 1 < field.size() ? ToUtf8(TextUpToNul(field.substr(groupUnits + 1))) : std::string();
}

std::string ControlGroup(const ControlRecord& control) {
    return ToUtf8(TextUpToNul(std::wstring_view(control.names, kHostTextUnits)));
}

std::string ControlDescription(const ControlRecord& control) {
    return ToUtf8(TextUpToNul(std::wstring_view(control.description, kHostTextUnits)));
}

std::string ControlRangeText(const ControlRecord& control) {
    switch (control.kind) {
        case ControlKind::GroupHeader:
            return {};
        case ControlKind::WholeNumber:
            return "whole number, " + BoundsText(control.whole);
        case ControlKind::DecimalNumber:
            return "number, " + BoundsText(control.decimal);
        case ControlKind::Switch:
            return "true or false";
        case ControlKind::FileList:
            return "file name in the playlist folder";
        case ControlKind::BitMask:
            return "columns x rows, 1x1 to 32x32";
    }
    return {};
}

ControlRecord* HostControls::Allocate(void* hostContext) noexcept {
    try {
        auto& records = static_cast<HostControls*>(hostContext)->records_;
        records.push_back(std::make_unique_for_overwrite<ControlRecord>());
        std::memset(static_cast<void*>(records.back().get()), kFillByte, sizeof(ControlRecord));
        return records.back().get();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

ControlRecord* HostControls::Find(std::string_view label) const {
    if (label.empty()) {
        return nullptr;
    }
    const auto found =
        std::ranges::find_if(records_, [&](const auto& record) { return ControlLabel(*record) == label; });
    return found != records_.end() ? found->get() : nullptr;
}

void HostControls::Apply(const ControlSetting& setting) {
    ControlRecord* control = Find(setting.label);
    if (!control) {
        throw HostError(ExitStatus::WrongUsage,
                        "unknown control \"" + setting.label + "\"; the controls are:\n" + Listing());
    }
    if (!WriteValue(*control, setting.value)) {
        throw HostError(ExitStatus::WrongUsage, "\"" + setting.label + "\" cannot be \"" + setting.value +
                                                    "\": " + ControlRangeText(*control));
    }
}

void HostControls::KeepDefaults() {
    defaults_.clear();
    for (const auto& record : records_) {
        defaults_.push_back(ControlValueText(*record));
    }
}

std::vector<ControlSetting> HostControls::Changed() const {
    std::vector<ControlSetting> changed;
    for (std::size_t i = 0; i < defaults_.size(); ++i) {
        if (const std::string value = ControlValueText(*records_[i]); value != defaults_[i]) {
            changed.push_back({ControlLabel(*records_[i]), value});
        }
    }
    return changed;
}

std::string HostControls::Listing() const {
    std::string listing;
    for (const auto& record : records_) {
        const std::string label = ControlLabel(*record);
        if (label.empty()) {
            continue;
        }
        if (!listing.empty()) {
            listing += '\n';
        }
        listing += "  " + label + " = " + ControlValueText(*record) + "  (" + ControlRangeText(*record) + ")";
    }
    return listing;
}

}  // namespace pixelforge::preview
