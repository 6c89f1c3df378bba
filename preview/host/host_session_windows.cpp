// Calls the module's exports in the host's order.
#include "preview/host/host_session.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "preview/host/host_error.h"

namespace pixelforge::preview {
namespace {

std::wstring infoText;

void RequireSuccess(std::int32_t result, const char* function) {
    if (result == 0) {
        throw HostError(ExitStatus::Failed, std::string(function) + " failed");
    }
}

/// Level output as grey pixels: 0 is black, the highest level is white. (A real host looks levels up in its
/// palette.)
std::vector<std::uint8_t> GreysOfLevels(const FramePixels& pixels, std::int32_t levelDivisor) {
    constexpr std::uint32_t kWhiteSum = 3 * 255;
    const std::uint32_t highest = std::max(kWhiteSum / static_cast<std::uint32_t>(levelDivisor), 1u);
    std::vector<std::uint8_t> greys(pixels.bytes.size());
    for (std::size_t at = 0; at + 4 <= greys.size(); at += 4) {
        std::uint32_t level = 0;
        std::memcpy(&level, pixels.bytes.data() + at, 4);
        const auto grey = static_cast<std::uint8_t>(std::min(level, highest) * 255u / highest);
        greys[at] = greys[at + 1] = greys[at + 2] = grey;
    }
    return greys;
}

}  // namespace

HostSession::HostSession(const ModuleFunctions& module, const SessionOptions& options)
    : module_(module), options_(options), window_(options.window), surface_(options.width, options.height) {
    if (!window_) {
        window_ = &ownWindow_.emplace(options.width, options.height);
    }
    context_.levelDivisor = options.levelDivisor;
    context_.levelOutput = options.levelOutput;
    UseSurface(options.width, options.height);
    context_.window = window_->Handle();
    context_.infoTextCallback = [](const wchar_t* text) { infoText = text ? text : L""; };
}

void HostSession::UseSurface(std::int32_t width, std::int32_t height) {
    context_.width = width;
    context_.height = height;
    context_.bitmap = surface_.Bitmap();
    context_.dc = surface_.DeviceContext();
}

void HostSession::Open() {
    ModuleDescription description = {};
    RequireSuccess(module_.getDescription(&description), "ModuleGetDescription");
    RequireSuccess(module_.buildControlStructure(&instance_, nullptr, &HostControls::Allocate, &controls_),
                   "ModuleBuildControlStructure");
    controls_.KeepDefaults();
    if (!options_.playlistName.empty()) {
        controls_.Apply({"Playlist File(s)", options_.playlistName});
    }
    for (const ControlSetting& setting : options_.settings) {
        controls_.Apply(setting);
    }
    if (const std::string conflict = Conflict(); !conflict.empty()) {
        throw HostError(ExitStatus::WrongUsage, conflict);
    }
    PreInitialize();
    Initialize();
}

void HostSession::PreInitialize() {
    const std::int32_t levelOutput = context_.levelOutput;
    offscreen_ = NeedsOffscreen();
    context_.levelOutput = offscreen_ ? 1 : 0;
    const std::int32_t result = module_.preInitialize(instance_, &context_);
    context_.levelOutput = levelOutput;
    RequireSuccess(result, "ModulePreInitialize");
}

void HostSession::Initialize() {
    RequireSuccess(module_.initialize(instance_, &context_), "ModuleInitialize");
}

bool HostSession::Refit(std::int32_t width, std::int32_t height) {
    const bool resized = width != context_.width || height != context_.height;
    if (!resized && offscreen_ == NeedsOffscreen()) {
        return false;
    }
    if (resized) {
        surface_ = HostSurface(width, height);
        UseSurface(width, height);
    }
    PreInitialize();
    Initialize();
    return true;
}

bool HostSession::IsForegroundOnly() const {
    const ControlRecord* control = Control("Foreground Only");
    return control && control->toggle.value[1] != 0;
}

bool HostSession::IsTiled() const {
    return std::ranges::any_of(std::array{Control("X Tiling"), Control("Y Tiling")},
                               [](auto* count) { return count && count->whole.value[0] > 1; });
}

bool HostSession::NeedsOffscreen() const {
    return context_.levelOutput != 0 || (options_.autoOffscreen && (IsForegroundOnly() || IsTiled()));
}

std::string HostSession::Conflict() const {
    if (!options_.autoOffscreen || !IsTiled()) {
        return {};
    }
    if (context_.levelOutput != 0) {
        return "level output cannot be combined with tiles, which the module draws in colour";
    }
    if (IsForegroundOnly()) {
        return "\"Foreground Only\" cannot be combined with tiles, which cover the whole of the host's "
               "picture";
    }
    return {};
}

FrameResult HostSession::DrawFrame() {
    window_->PumpMessages();
    // Level output holds no colours, so there is no host picture under it.
    if (options_.autoOffscreen && context_.levelOutput == 0 && IsForegroundOnly()) {
        surface_.FillWithCheckers();
    }
    const auto result = static_cast<FrameResult>(module_.drawFrame(instance_, &context_));
    if (result == FrameResult::ResetWanted) {
        Initialize();
    }
    return result;
}

void HostSession::Close() noexcept {
    if (instance_) {
        module_.cleanUp(instance_);
        module_.destroyControlStructure(instance_);
        instance_ = nullptr;
    }
}

void HostSession::SetLevels(std::int32_t levelDivisor) {
    context_.levelOutput = levelDivisor != 0 ? 1 : 0;
    context_.levelDivisor = levelDivisor != 0 ? levelDivisor : kPaletteColors;
}

void HostSession::SetSpeed(double secondsPerFrame) {
    if (ControlRecord* speed = Control("Speed")) {
        const auto [least, most] = speed->decimal.bounds[0];
        speed->decimal.value[0] = std::clamp(static_cast<float>(secondsPerFrame), least, most);
    }
}

FramePixels HostSession::Picture() {
    FramePixels pixels = Pixels();
    if (context_.levelOutput != 0) {
        greys_ = GreysOfLevels(pixels, context_.levelDivisor);
        pixels.bytes = greys_;
    }
    return pixels;
}

const std::wstring& HostSession::InfoText() noexcept {
    return infoText;
}

void RealTime::Advance(double pace) {
    constexpr std::chrono::duration<double> kFirstStep(1.0 / 60);
    const auto now = std::chrono::steady_clock::now();
    const auto step = previous_ ? now - *previous_ : kFirstStep;
    session_.SetSpeed(std::chrono::duration<double>(step).count() * pace);
    previous_ = now;
}

}  // namespace pixelforge::preview
