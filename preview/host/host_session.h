// One run of the module as the host drives it: controls, preparation, frames, clean-up, in that order.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "module/host_abi.h"
#include "preview/host/host_controls.h"
#include "preview/host/host_surface.h"
#include "preview/host/host_window.h"
#include "preview/host/module_library.h"

namespace pixelforge::preview {

inline constexpr std::int32_t kPaletteColors = 256;

/// A run of a given length ends if its first frames, this many, all fail: retrying hardly helps.
inline constexpr int kMaxInitialFailures = 3;

struct SessionOptions {
    std::int32_t width = 0;  ///< pixels of the frame, and of the window unless one is given
    std::int32_t height = 0;
    std::string playlistName = {};               ///< file name in the playlist folder, for "Playlist File(s)"
    std::vector<ControlSetting> settings = {};   ///< applied in order after the playlist's name
    std::int32_t levelDivisor = kPaletteColors;  ///< colours of the host's palette
    std::int32_t levelOutput = 0;

    /// Tiles and foreground need the module's off-screen bitmap, which it uses only if the draw record
    /// requests levels at pre-initialisation. If true, the session does so whenever a control needs it, and
    /// draws the host's picture under a foreground.
    bool autoOffscreen = false;

    HostWindow* window = nullptr;  ///< null: the session creates its own
};

/// Use only on the thread that created it, but other threads may draw frames, one at a time. The module must
/// outlive the session.
class HostSession {
public:
    /// Creates window and bitmap and fills the draw record, without calling the module.
    HostSession(const ModuleFunctions& module, const SessionOptions& options);
    HostSession(const ModuleLibrary& library, const SessionOptions& options)
        : HostSession(library.Functions(), options) {}
    ~HostSession() { Close(); }
    HostSession(const HostSession&) = delete;
    HostSession& operator=(const HostSession&) = delete;

    /// Description, controls, settings, pre-initialisation, initialisation. Throws `HostError`: `WrongUsage`
    /// for unknown or conflicting settings, `Failed` if a call fails.
    void Open();

    /// The last step of `Open`. Called again it requests a new load, as the host does for a reset.
    void Initialize();

    /// Pre-initialises and initialises again if the frame's size or the need for the off-screen bitmap has
    /// changed. Returns true if so: the next frame loads.
    bool Refit(std::int32_t width, std::int32_t height);

    /// Dispatches pending messages and draws a frame. Initialises again if the module requests a reset.
    FrameResult DrawFrame();

    void Close() noexcept;

    /// Level output with this divisor, or colours for 0. Takes effect at the next `Refit`.
    void SetLevels(std::int32_t levelDivisor);

    /// Why controls or levels conflict with tiles, which the module draws last, over the whole bitmap and in
    /// colour. Empty without a conflict, and without `autoOffscreen`.
    std::string Conflict() const;

    /// Shader time per frame, limited to the bounds of "Speed".
    void SetSpeed(double secondsPerFrame);

    ControlRecord* Control(std::string_view label) const { return controls_.Find(label); }
    HostControls& Controls() noexcept { return controls_; }
    DrawContext& Context() noexcept { return context_; }
    HostWindow& Window() noexcept { return *window_; }
    ModuleInstance* Instance() const noexcept { return instance_; }

    FramePixels Pixels() const { return surface_.Pixels(); }

    /// The frame for display, level output as greys. Valid until the next call or frame.
    FramePixels Picture();

    /// The rich text that the module passed last, in any session; empty once cleared.
    static const std::wstring& InfoText() noexcept;

private:
    void UseSurface(std::int32_t width, std::int32_t height);
    void PreInitialize();
    bool IsForegroundOnly() const;
    bool IsTiled() const;
    bool NeedsOffscreen() const;

    const ModuleFunctions& module_;
    const SessionOptions options_;
    std::optional<HostWindow> ownWindow_;
    HostWindow* window_ = nullptr;
    HostSurface surface_;
    HostControls controls_;
    bool offscreen_ = false;  ///< at the last pre-initialisation
    DrawContext context_{};
    ModuleInstance* instance_ = nullptr;
    std::vector<std::uint8_t> greys_;  ///< of `Picture`
};

/// Makes shader time follow the clock: sets "Speed" to the time since the previous frame.
class RealTime {
public:
    explicit RealTime(HostSession& session) : session_(session) {}

    /// Call before each frame. The first one, and the first after `Restart`, advances by a sixtieth of a
    /// second. `pace` multiplies the step; below 0 time runs backwards.
    void Advance(double pace = 1.0);

    /// Excludes the time since the last frame: a load, a pause.
    void Restart() noexcept { previous_.reset(); }

private:
    HostSession& session_;
    std::optional<std::chrono::steady_clock::time_point> previous_;
};

}  // namespace pixelforge::preview
