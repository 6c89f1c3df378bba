// Tile counts, switches, levels, pace, scale, and the panel of all controls.
#include "preview/view/control_changes.h"

#include <algorithm>
#include <cmath>

#include "base/bitmap.h"
#include "base/load_error.h"
#include "base/text.h"

namespace pixelforge::preview {
namespace {

constexpr double kLargestPace = 64.0;
constexpr double kSmallestPace = 1.0 / 64.0;

constexpr std::string_view kPlaylistLabel = "Playlist File(s)";

/// The module reads these when it loads a shader.
constexpr std::string_view kReadAtLoad[] = {"Fast Buffers", "Multi-Sample", kPlaylistLabel};

std::wstring NumberText(double number) {
    wchar_t text[32];
    std::swprintf(text, std::size(text), L"%g", number);
    return text;
}

/// Keeps the sign.
double ClampedPace(double pace) {
    return std::copysign(std::clamp(std::abs(pace), kSmallestPace, kLargestPace), pace);
}

}  // namespace

SIZE ScaledSize(SIZE size, double scale) {
    const auto side = [scale](LONG pixels) {
        return static_cast<LONG>(
            std::clamp<long>(std::lround(static_cast<double>(pixels) * scale), 1, kLargestSide));
    };
    return {side(size.cx), side(size.cy)};
}

std::string QuotedArgument(const std::string& argument) {
    constexpr std::string_view kPlain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-+.,:/=@";
    const bool plain = !argument.empty() && argument.find_first_not_of(kPlain) == std::string::npos;
    return plain ? argument : "\"" + argument + "\"";
}

ControlChanges::ControlChanges(HostSession& session, ViewWindow& view, ControlChangesOptions options)
    : session_(session),
      view_(view),
      options_(std::move(options)),
      followClock_(options_.followClock),
      scale_(options_.scale) {}

void ControlChanges::Execute(ViewCommand command) {
    struct Row {
        ViewCommand command;
        std::function<std::wstring()> act;
    };
    const Row rows[] = {
        {ViewCommand::MoreColumns, [&] { return ChangeCount("X Tiling", 1); }},
        {ViewCommand::FewerColumns, [&] { return ChangeCount("X Tiling", -1); }},
        {ViewCommand::MoreRows, [&] { return ChangeCount("Y Tiling", 1); }},
        {ViewCommand::FewerRows, [&] { return ChangeCount("Y Tiling", -1); }},
        {ViewCommand::Mirror, [&] { return Toggle("Mirroring"); }},
        {ViewCommand::Foreground, [&] { return Toggle("Foreground Only"); }},
        {ViewCommand::Levels, [&] { return ToggleLevels(); }},
        {ViewCommand::Panel, [&] { return TogglePanel(); }},
        {ViewCommand::CopyCommandLine, [&] { return CopyCommandLine(); }},
        {ViewCommand::Slower, [&] { return ChangePace(0.5); }},
        {ViewCommand::Faster, [&] { return ChangePace(2.0); }},
        {ViewCommand::Backwards, [&] { return ChangePace(-1.0); }},
        {ViewCommand::LowerScale, [&] { return ChangeScale(0.5); }},
        {ViewCommand::HigherScale, [&] { return ChangeScale(2.0); }},
    };
    const auto* row = std::ranges::find(rows, command, &Row::command);
    if (row != std::end(rows)) {
        options_.report(row->act());
    }
}

void ControlChanges::RefreshPanel() {
    if (panel_ && panel_->Shown()) {
        panel_->Refresh(followClock_);
    }
}

SIZE ControlChanges::FrameSize() const {
    return ScaledSize(view_.Frame().ClientSize(), scale_);
}

std::wstring ControlChanges::ChangeCount(const char* label, std::int32_t change) {
    const ControlRecord* control = session_.Control(label);
    if (!control) {
        return {};
    }
    const auto [least, most] = control->whole.bounds[0];
    return Set({label, std::to_string(std::clamp(control->whole.value[0] + change, least, most))});
}

std::wstring ControlChanges::Toggle(const char* label) {
    const ControlRecord* control = session_.Control(label);
    return control ? Set({label, control->toggle.value[1] != 0 ? "false" : "true"}) : std::wstring();
}

std::wstring ControlChanges::ToggleLevels() {
    const bool on = session_.Context().levelOutput == 0;
    session_.SetLevels(on ? options_.levelDivisor : 0);
    return ReportOrUndo(on ? L"Level output, divisor " + std::to_wstring(options_.levelDivisor) : L"Colours",
                        [&] { session_.SetLevels(0); });
}

std::wstring ControlChanges::TogglePanel() {
    if (!panel_) {
        panel_.emplace(
            view_.Frame().Handle(), session_.Controls(),
            PanelActions{.change = [this](const ControlSetting& setting) { options_.report(Set(setting)); },
                         .followClock = [this](bool follow) { followClock_ = follow; },
                         .copyCommandLine = [this] { options_.report(CopyCommandLine()); }});
    }
    panel_->Toggle();
    return {};
}

/// With a fixed step the step changes, otherwise the pace.
std::wstring ControlChanges::ChangePace(double factor) {
    if (followClock_) {
        pace_ = ClampedPace(pace_ * factor);
        return L"Time \u00D7 " + NumberText(pace_);
    }
    const ControlRecord* speed = session_.Control("Speed");
    if (!speed) {
        return {};
    }
    session_.SetSpeed(speed->decimal.value[0] * factor);
    return L"Speed " + FromUtf8(ControlValueText(*speed));
}

std::wstring ControlChanges::ChangeScale(double factor) {
    scale_ = std::clamp(scale_ * factor, kSmallestScale, kLargestScale);
    const SIZE size = FrameSize();
    return L"Scale " + NumberText(scale_) + L": " + std::to_wstring(size.cx) + L" \u00D7 " +
           std::to_wstring(size.cy);
}

std::wstring ControlChanges::CopyCommandLine() {
    const std::wstring line = FromUtf8(CommandLine());
    return (view_.CopyText(line) ? L"Copied: " : L"The clipboard is in use: ") + line;
}

std::string ControlChanges::CommandLine() {
    const SIZE size = view_.Frame().ClientSize();
    std::string line = options_.command ? options_.command() : std::string();
    line += view_.IsFullScreen()
                ? " --fullscreen"
                : " --window --size " + std::to_string(size.cx) + "x" + std::to_string(size.cy);
    if (scale_ != 1.0) {
        line += " --scale " + ToUtf8(NumberText(scale_));
    }
    if (session_.Context().levelOutput != 0) {
        line += " --levels " + std::to_string(session_.Context().levelDivisor);
    }
    for (const ControlSetting& setting : Settings()) {
        line += " --set " + QuotedArgument(setting.label + "=" + setting.value);
    }
    return line;
}

std::vector<ControlSetting> ControlChanges::Settings() const {
    std::vector<ControlSetting> settings = session_.Controls().Changed();
    std::erase_if(settings, [&](const ControlSetting& setting) {
        return setting.label == kPlaylistLabel || setting.label == "Tile Mask" ||
               (followClock_ && setting.label == "Speed");
    });
    return settings;
}

/// A new speed ends following the clock, which would overwrite it.
std::wstring ControlChanges::Set(const ControlSetting& setting) {
    const ControlRecord* control = session_.Control(setting.label);
    const std::string previous = control ? ControlValueText(*control) : std::string();
    const std::string failure = FailureOf([&] { session_.Controls().Apply(setting); });
    if (!failure.empty()) {
        return FromUtf8(failure);
    }
    const std::wstring report = ReportOrUndo(FromUtf8(setting.label + " " + ControlValueText(*control)), [&] {
        session_.Controls().Apply({setting.label, previous});
    });
    if (ControlValueText(*control) != previous) {
        followClock_ = followClock_ && setting.label != "Speed";
        reload_ = reload_ || std::ranges::find(kReadAtLoad, setting.label) != std::end(kReadAtLoad);
    }
    return report;
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
