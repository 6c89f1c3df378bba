// Calls the module's exports in the host's order.
#include "preview/host/host_session.h"

#include "preview/host/host_error.h"
#include "preview/host/level_colors.h"

namespace pixelforge::preview {
namespace {

std::wstring& StoredInfoText() {
    static std::wstring text;
    return text;
}

void StoreInfoText(const wchar_t* text) {
    StoredInfoText() = text != nullptr ? text : L"";
}

void RequireSuccess(std::int32_t result, const char* step) {
    if (result == 0) {
        throw HostError(ExitStatus::Failed, std::string("the module refused ") + step);
    }
}

}  // namespace

HostSession::HostSession(const ModuleFunctions& module, const SessionOptions& options)
    : module_(module),
      playlistName_(options.playlistName),
      settings_(options.settings),
      window_(options.window),
      offscreenWhenNeeded_(options.offscreenWhenNeeded),
      surface_(options.width, options.height) {
    if (window_ == nullptr) {
        window_ = &ownWindow_.emplace(options.width, options.height);
    }
    FillContext(options);
}

HostSession::~HostSession() {
    Close();
}

void HostSession::UseSurface(std::int32_t width, std::int32_t height) {
    context_.width = width;
    context_.height = height;
    context_.bitmap = surface_.Bitmap();
    context_.dc = surface_.DeviceContext();
}

void HostSession::FillContext(const SessionOptions& options) {
    context_.levelDivisor = options.levelDivisor;
    context_.levelOutput = options.levelOutput;
    UseSurface(options.width, options.height);
    context_.window = window_->Handle();
    context_.infoTextCallback = StoreInfoText;
}

void HostSession::Open() {
    RequireSuccess(module_.getDescription(&description_), "its description");
    BuildControls();
    PreInitialize();
    Initialize();
}

void HostSession::BuildControls() {
    RequireSuccess(module_.buildControlStructure(&instance_, nullptr, &HostControls::Allocate, &controls_),
                   "to build its controls");
    if (!playlistName_.empty()) {
        controls_.Apply({"Playlist File(s)", playlistName_});
    }
    for (const ControlSetting& setting : settings_) {
        controls_.Apply(setting);
    }
}

void HostSession::PreInitialize() {
    const std::int32_t levelOutput = context_.levelOutput;
    preparedOffscreen_ = WantsOffscreen();
    if (preparedOffscreen_ && levelOutput == 0) {
        context_.levelOutput = 1;
    }
    const std::int32_t result = module_.preInitialize(instance_, &context_);
    context_.levelOutput = levelOutput;
    RequireSuccess(result, "pre-initialisation");
}

void HostSession::Initialize() {
    RequireSuccess(module_.initialize(instance_, &context_), "initialisation");
}

void HostSession::Restart(std::int32_t width, std::int32_t height) {
    if (width != context_.width || height != context_.height) {
        surface_ = HostSurface(width, height);
        UseSurface(width, height);
    }
    PreInitialize();
    Initialize();
}

bool HostSession::WantsOffscreen() const {
    return context_.levelOutput != 0 || (offscreenWhenNeeded_ && NeedsOffscreen());
}

bool HostSession::NeedsOffscreen() const {
    const ControlRecord* foreground = Control("Foreground Only");
    const ControlRecord* columns = Control("X Tiling");
    const ControlRecord* rows = Control("Y Tiling");
    return (foreground != nullptr && foreground->toggle.value[1] != 0) ||
           (columns != nullptr && columns->whole.value[0] > 1) ||
           (rows != nullptr && rows->whole.value[0] > 1);
}

FramePixels HostSession::Picture(std::vector<std::uint8_t>& greys) const {
    FramePixels pixels = Pixels();
    if (context_.levelOutput != 0) {
        greys = GreysOfLevels(pixels, context_.levelDivisor);
        pixels.bytes = greys;
    }
    return pixels;
}

void HostSession::SetLevels(std::int32_t levelDivisor) {
    context_.levelOutput = levelDivisor != 0 ? 1 : 0;
    context_.levelDivisor = levelDivisor != 0 ? levelDivisor : kPaletteColors;
}

FrameResult HostSession::DrawFrame() {
    window_->PumpMessages();
    if (ShowsHostPicture()) {
        surface_.FillWithCheckers();
    }
    const auto result = static_cast<FrameResult>(module_.drawFrame(instance_, &context_));
    if (result == FrameResult::ResetWanted) {
        Reset();
    }
    return result;
}

/// Levels share the bitmap's words with nothing else.
bool HostSession::ShowsHostPicture() const {
    const ControlRecord* foreground = Control("Foreground Only");
    return offscreenWhenNeeded_ && context_.levelOutput == 0 && foreground != nullptr &&
           foreground->toggle.value[1] != 0;
}

void HostSession::Close() noexcept {
    if (instance_ != nullptr) {
        module_.cleanUp(instance_);
        module_.destroyControlStructure(instance_);
        instance_ = nullptr;
    }
}

const std::wstring& HostSession::InfoText() noexcept {
    return StoredInfoText();
}

}  // namespace pixelforge::preview
