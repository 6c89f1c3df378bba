// Tile counts, switches, levels, pace and scale.
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

/// Used by F11 if --levels is not given.
constexpr std::int32_t kDefaultLevelDivisor = 64;

constexpr std::string_view kPlaylistLabel = "Playlist File(s)";

/// The module reads these when it loads a shader.
constexpr std::string_view kReadAtLoad[] = {"Fast Buffers", "Multi-Sample", kPlaylistLabel};

std::wstring NumberText(double number) {
    wchar_t text[32];
    std::swprintf(text, std::size(text), L"%g", number);
    return text;
}

}  // namespace

SIZE ScaledSize(SIZE size, double scale) {
    const auto side = [scale](LONG pixels) {
        return static_cast<LONG>(std::clamp(std::round(pixels * scale), 1.0, 1.0 * kLargestSide));
    };
    return {side(size.cx), side(size.cy)};
}

std::string QuotedArgument(const std::string& argument) {
    constexpr std::string_view kPlain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-+.,:/=@";
    const bool plain = !argument.empty() && argument.find_first_not_of(kPlain) == std::string::npos;
    return plain ? argument : "\"" + argument + "\"";
}

ControlChanges::ControlChanges(HostSession& session, ViewState& state,
                               std::function<void(const std::wstring&)> report)
    : session_(session),
      state_(state),
      report_(std::move(report)),
      levelDivisor_(state.levels != 0 ? state.levels : kDefaultLevelDivisor) {}

std::vector<ViewKey> ControlChanges::Keys() {
    return {
        {VK_F6, 0, L"F6, Shift+F6\tmore / fewer tiles across", [this] { Change("X Tiling", 1); }},
        {VK_F6, kShift, nullptr, [this] { Change("X Tiling", -1); }},
        {VK_F7, 0, L"F7, Shift+F7\tmore / fewer tiles down", [this] { Change("Y Tiling", 1); }},
        {VK_F7, kShift, nullptr, [this] { Change("Y Tiling", -1); }},
        {VK_F8, 0, L"F8\tmirror every second tile on / off", [this] { Change("Mirroring", 1); }},
        {VK_F9, 0, L"F9\tforeground only on / off", [this] { Change("Foreground Only", 1); }},
        {VK_F11, 0, L"F11\tlevel output / colours", [this] { ToggleLevels(); }},
        {VK_F2, kShift, L"Shift+F2, Shift+F3\ttime slower / faster", [this] { ChangePace(0.5); }},
        {VK_F3, kShift, nullptr, [this] { ChangePace(2.0); }},
        {VK_F3, kControl, L"Ctrl+F3\ttime backwards / forwards", [this] { ChangePace(-1.0); }},
        {VK_OEM_MINUS, kControl, L"Ctrl+Minus, Ctrl+Plus\tlower / higher resolution",
         [this] { ChangeScale(0.5); }},
        {VK_SUBTRACT, kControl, nullptr, [this] { ChangeScale(0.5); }},
        {VK_OEM_PLUS, kControl, nullptr, [this] { ChangeScale(2.0); }},
        {VK_OEM_PLUS, kControl | kShift, nullptr, [this] { ChangeScale(2.0); }},  // on US keyboards
        {VK_ADD, kControl, nullptr, [this] { ChangeScale(2.0); }},
    };
}

/// A new speed ends following the clock, which would overwrite it.
void ControlChanges::Set(const ControlSetting& setting) {
    const auto value = [&] {
        const ControlRecord* control = session_.Control(setting.label);
        return control ? ControlValueText(*control) : std::string();
    };
    const std::string previous = value();
    std::string failure = FailureOf([&] { session_.Controls().Apply(setting); });
    if (failure.empty() && !session_.Conflict().empty()) {
        failure = session_.Conflict();
        session_.Controls().Apply({setting.label, previous});
    }
    if (failure.empty() && value() != previous) {
        state_.realTime = state_.realTime && setting.label != "Speed";
        reload_ = reload_ || std::ranges::find(kReadAtLoad, setting.label) != std::end(kReadAtLoad);
    }
    report_(FromUtf8(failure.empty() ? setting.label + " " + value() : failure));
}

/// A switch changes to its other position.
void ControlChanges::Change(const char* label, std::int32_t change) {
    const ControlRecord* control = session_.Control(label);
    if (control && control->kind == ControlKind::Switch) {
        Set({label, control->toggle.value[1] != 0 ? "false" : "true"});
    } else if (control) {
        const auto [least, most] = control->whole.bounds[0];
        Set({label, std::to_string(std::clamp(control->whole.value[0] + change, least, most))});
    }
}

void ControlChanges::ToggleLevels() {
    state_.levels = state_.levels == 0 ? levelDivisor_ : 0;
    session_.SetLevels(state_.levels);
    std::string line = session_.Conflict();
    if (!line.empty()) {
        state_.levels = 0;
        session_.SetLevels(0);
    } else {
        line = state_.levels != 0 ? "Level output, divisor " + std::to_string(levelDivisor_) : "Colours";
    }
    report_(FromUtf8(line));
}

/// With a fixed step the step changes, otherwise the pace.
void ControlChanges::ChangePace(double factor) {
    const ControlRecord* speed = session_.Control("Speed");
    if (state_.realTime) {
        const double pace = std::clamp(std::abs(pace_ * factor), kSmallestPace, kLargestPace);
        pace_ = std::copysign(pace, pace_ * factor);
        report_(L"Time \u00D7 " + NumberText(pace_));
    } else if (speed) {
        session_.SetSpeed(speed->decimal.value[0] * factor);
        report_(L"Speed " + FromUtf8(ControlValueText(*speed)));
    }
}

void ControlChanges::ChangeScale(double factor) {
    state_.scale = std::clamp(state_.scale * factor, kSmallestScale, kLargestScale);
    report_(L"Scale " + NumberText(state_.scale));
}

std::vector<ControlSetting> ControlChanges::Settings() const {
    std::vector<ControlSetting> settings = session_.Controls().Changed();
    std::erase_if(settings, [&](const ControlSetting& setting) {
        return setting.label == kPlaylistLabel || setting.label == "Tile Mask" ||
               (state_.realTime && setting.label == "Speed");
    });
    return settings;
}

std::string ControlChanges::Arguments() const {
    std::string line = state_.fullScreen ? " --fullscreen"
                                         : " --window --size " + std::to_string(state_.size.cx) + "x" +
                                               std::to_string(state_.size.cy);
    if (state_.scale != 1.0) {
        line += " --scale " + ToUtf8(NumberText(state_.scale));
    }
    if (state_.levels != 0) {
        line += " --levels " + std::to_string(state_.levels);
    }
    for (const ControlSetting& setting : Settings()) {
        line += " --set " + QuotedArgument(setting.label + "=" + setting.value);
    }
    return line;
}

}  // namespace pixelforge::preview
