// One run of the module as the host drives it: settings, preparation, frames, clean-up, in that order.
#pragma once

#include <memory>
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

struct SessionOptions {
    std::int32_t width = 1280;  ///< pixels of the frame, and of the window unless one is given
    std::int32_t height = 720;
    std::string playlistName;                    ///< file name in the playlist folder, for "Playlist File(s)"
    std::vector<ControlSetting> settings;        ///< applied in order behind the playlist's name
    std::int32_t levelDivisor = kPaletteColors;  ///< colours of the host's palette
    std::int32_t levelOutput = 0;
    bool offscreenWhenNeeded = false;  ///< see `PreInitialize`
    HostWindow* window = nullptr;      ///< null: the session makes a window of its own
};

/// All calls, and the messages of the window, belong to the thread that made the session, except that
/// frames may be drawn from other threads one at a time. The module must outlive the session.
class HostSession {
public:
    /// Makes window and bitmap and fills the draw record; the module is not called yet.
    HostSession(const ModuleFunctions& module, const SessionOptions& options);
    HostSession(const ModuleLibrary& library, const SessionOptions& options)
        : HostSession(library.Functions(), options) {}
    ~HostSession();  ///< closes
    HostSession(const HostSession&) = delete;
    HostSession& operator=(const HostSession&) = delete;

    /// Description, controls, settings, pre-initialisation, initialisation. Throws `HostError`.
    void Open();

    /// The steps of `Open`, for callers that change something between them.
    void BuildControls();
    /// The module passes frames through its own bitmap only when the draw record asks for levels here, and
    /// only such frames can be tiled or laid over the host's picture. With `offscreenWhenNeeded` the record
    /// does so for the length of this call whenever the controls ask for one of the two.
    void PreInitialize();
    void Initialize();

    /// Delivers waiting messages, fills the bitmap with the host's own picture (checkers) where the frame
    /// is to be laid over one, draws, and initialises again when the module asks for a reset.
    FrameResult DrawFrame();

    /// Asks for a new load, as the host does for a reset.
    void Reset() { Initialize(); }

    /// Prepares the module anew, with a bitmap of this size, and asks for a new load.
    void Restart(std::int32_t width, std::int32_t height);

    /// Whether the controls ask for frames that pass through the module's own bitmap.
    bool NeedsOffscreen() const;

    /// False when the controls or levels were changed so that only a `Restart` makes them show.
    bool PreparedAsNeeded() const { return preparedOffscreen_ == WantsOffscreen(); }

    /// Levels of so many to a colour, or colours for 0. Takes effect with the next `Restart`.
    void SetLevels(std::int32_t levelDivisor);

    /// Cleans up and destroys the instance; does nothing when that is done or nothing was built.
    void Close() noexcept;

    /// Null for a label that the module did not declare.
    ControlRecord* Control(std::string_view label) const { return controls_.Find(label); }
    HostControls& Controls() noexcept { return controls_; }
    DrawContext& Context() noexcept { return context_; }
    FramePixels Pixels() const { return surface_.Pixels(); }

    /// The frame as a picture: levels as greys, which `greys` then holds, and all else as it is.
    FramePixels Picture(std::vector<std::uint8_t>& greys) const;
    HostWindow& Window() noexcept { return *window_; }
    ModuleInstance* Instance() const noexcept { return instance_; }
    const ModuleDescription& Description() const noexcept { return description_; }

    /// The rich text that any session's module handed over last; empty when it was cleared.
    static const std::wstring& InfoText() noexcept;

private:
    void FillContext(const SessionOptions& options);
    void UseSurface(std::int32_t width, std::int32_t height);
    bool ShowsHostPicture() const;
    bool WantsOffscreen() const;

    const ModuleFunctions& module_;
    std::string playlistName_;
    std::vector<ControlSetting> settings_;
    std::optional<HostWindow> ownWindow_;
    HostWindow* window_ = nullptr;
    bool offscreenWhenNeeded_;
    bool preparedOffscreen_ = false;
    HostSurface surface_;
    HostControls controls_;
    ModuleDescription description_{};
    DrawContext context_{};
    ModuleInstance* instance_ = nullptr;
};

}  // namespace pixelforge::preview
