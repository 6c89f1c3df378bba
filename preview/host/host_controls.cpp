// Reads, lists and sets the values in control records.
#include "preview/host/host_controls.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <span>

#include "base/text.h"
#include "preview/host/host_error.h"

namespace pixelforge::preview {
namespace {

constexpr int kFillByte = 0xCD;
constexpr std::int32_t kMaximumGridSide = 32;

std::wstring_view TextUpToNul(std::span<const wchar_t> field) {
    const std::wstring_view text(field.data(), field.size());
    return text.substr(0, text.find(L'\0'));
}

/// The names field holds the group's name and the label.
std::wstring_view LabelOf(const ControlRecord& control) {
    const std::size_t label = TextUpToNul(control.names).size() + 1;
    return label < kHostTextUnits ? TextUpToNul({control.names + label, kHostTextUnits - label})
                                  : std::wstring_view();
}

/// False, and leaves `number` unchanged, for anything but a number within these bounds.
template <class Number>
bool ReadNumber(std::string_view text, Number least, Number most, Number& number) {
    Number read = {};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), read);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    const bool valid = whole && read >= least && read <= most;
    number = valid ? read : number;
    return valid;
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
    return ReadNumber(text, area.bounds[0][0], area.bounds[0][1], area.value[0]);
}

bool WriteSwitch(ControlRecord& control, std::string_view text) {
    constexpr std::wstring_view kWords[] = {L"false", L"true", L"off", L"on", L"no", L"yes", L"0", L"1"};
    const auto word = std::ranges::find_if(
        kWords, [own = FromUtf8(text)](std::wstring_view one) { return EqualIgnoringAsciiCase(own, one); });
    const bool valid = word != std::end(kWords);
    control.toggle.value[1] = valid ? static_cast<std::int32_t>(word - kWords) % 2 : control.toggle.value[1];
    return valid;
}

bool WriteFileName(ControlRecord& control, std::string_view text) {
    const auto name = text.empty() ? std::wstring() : Widen(text, TextEncoding::Utf8);
    if (!name || name->size() >= kHostTextUnits) {
        return false;
    }
    CopyCut(control.files.fileName, *name);
    return true;
}

bool WriteGrid(ControlRecord& control, std::string_view text) {
    const std::size_t cross = std::min(text.find('x'), text.size());
    std::int32_t size[2] = {};
    const bool valid =
        ReadNumber(text.substr(0, cross), 1, kMaximumGridSide, size[0]) &&
        ReadNumber(text.substr(std::min(cross + 1, text.size())), 1, kMaximumGridSide, size[1]);
    if (valid) {
        std::ranges::copy(size, control.mask.gridSize);
    }
    return valid;
}

using Control = const ControlRecord&;

/// What a kind of control holds, for the user, and how to set it.
struct Kind {
    ControlKind kind;
    std::string (*value)(Control control);
    std::string (*range)(Control control);
    bool (*write)(ControlRecord& control, std::string_view text);
};

constexpr Kind kKinds[] = {
    {ControlKind::WholeNumber, [](Control control) { return NumberText(control.whole.value[0]); },
     [](Control control) { return "whole number, " + BoundsText(control.whole); },
     [](ControlRecord& control, std::string_view text) { return WriteNumber(control.whole, text); }},
    {ControlKind::DecimalNumber, [](Control control) { return NumberText(control.decimal.value[0]); },
     [](Control control) { return "number, " + BoundsText(control.decimal); },
     [](ControlRecord& control, std::string_view text) { return WriteNumber(control.decimal, text); }},
    {ControlKind::Switch,
     [](Control control) { return std::string(control.toggle.value[1] != 0 ? "true" : "false"); },
     [](Control) { return std::string("true or false"); }, WriteSwitch},
    {ControlKind::FileList, [](Control control) { return ToUtf8(TextUpToNul(control.files.fileName)); },
     [](Control) { return std::string("file name in the playlist folder"); }, WriteFileName},
    {ControlKind::BitMask,
     [](Control control) {
         return NumberText(control.mask.gridSize[0]) + "x" + NumberText(control.mask.gridSize[1]);
     },
     [](Control) { return std::string("columns x rows, 1x1 to 32x32"); }, WriteGrid},
    {ControlKind::GroupHeader, [](Control) { return std::string(); }, [](Control) { return std::string(); },
     [](ControlRecord&, std::string_view) { return false; }},
};

const Kind& KindOf(Control control) {
    const auto kind = std::ranges::find(kKinds, control.kind, &Kind::kind);
    return kind != std::end(kKinds) ? *kind : *std::rbegin(kKinds);
}

}  // namespace

std::string ControlValueText(const ControlRecord& control) {
    return KindOf(control).value(control);
}

std::string ControlLabel(const ControlRecord& control) {
    return ToUtf8(LabelOf(control));
}

std::string ControlGroup(const ControlRecord& control) {
    return ToUtf8(TextUpToNul(control.names));
}

std::string ControlDescription(const ControlRecord& control) {
    return ToUtf8(TextUpToNul(control.description));
}

std::string ControlRangeText(const ControlRecord& control) {
    return KindOf(control).range(control);
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
    const std::wstring wanted = FromUtf8(label);
    const auto found =
        std::ranges::find_if(records_, [&](const auto& record) { return LabelOf(*record) == wanted; });
    return !wanted.empty() && found != records_.end() ? found->get() : nullptr;
}

void HostControls::Apply(const ControlSetting& setting) {
    ControlRecord* control = Find(setting.label);
    if (!control) {
        throw HostError(ExitStatus::WrongUsage,
                        "unknown control \"" + setting.label + "\"; the controls are:\n" + Listing());
    }
    if (!KindOf(*control).write(*control, setting.value)) {
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
        if (const std::string label = ControlLabel(*record); !label.empty()) {
            listing += (listing.empty() ? "  " : "\n  ") + label + " = " + ControlValueText(*record) + "  (" +
                       ControlRangeText(*record) + ")";
        }
    }
    return listing;
}

}  // namespace pixelforge::preview
