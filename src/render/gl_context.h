// GL contexts: creation, making one current for a frame, and restoring the caller's.
#pragma once

struct HDC__;
struct HGLRC__;
struct HWND__;

namespace pixelforge {

struct GlRenderer;

inline constexpr const char* kContextLost = "the OpenGL context is lost";

/// Saves the thread's current context and restores it at the end of the scope, on a new device context if the
/// caller has released the old one. If there was none, or it no longer exists, nothing is current afterwards.
/// A separate surface for reading is not restored: the caller then reads from the one it draws on.
class CurrentContextKeeper {
public:
    /// The system does not know the window of a released device context. It is searched for among the
    /// process's windows, with `ownWindow`, the one that the module draws on, as the last choice.
    explicit CurrentContextKeeper(HWND__* ownWindow = nullptr) noexcept;
    ~CurrentContextKeeper();
    CurrentContextKeeper(const CurrentContextKeeper&) = delete;
    CurrentContextKeeper& operator=(const CurrentContextKeeper&) = delete;

    /// If the saved context is this one, leaves nothing current at the end.
    void Forget(HGLRC__* context) noexcept;

private:
    HDC__* dc_;
    HGLRC__* context_;
    HWND__* window_;  ///< of `dc_`; null without a context, or if it is uncertain
};

/// Creates the renderer's context on `window`, or on a hidden window if that is null, makes it current and
/// loads the entry points. Returns `glewReady`; `contextReady` reports whether at least the context exists.
bool CreateContext(GlRenderer& renderer, HWND__* window);

/// Makes the renderer's context current so that its names can be deleted. If that fails, nothing is current
/// afterwards: the names die with their context, and no other context's names are deleted.
void MakeCurrentForRelease(GlRenderer& renderer) noexcept;

/// Deletes the output framebuffer and texture, unbinds the context and deletes it.
void ReleaseContext(GlRenderer& renderer) noexcept;

/// Makes the renderer's context current on the window's device context. False, without any GL call, if the
/// context or the entry points are not ready or the context cannot be made current there. False also after
/// a reset of the graphics processor, which sets `contextLost`.
bool MakeRendererCurrent(GlRenderer& renderer, HWND__* window) noexcept;

/// True if the context is lost. Asks the driver while the context is current, and sets `contextLost`.
bool IsContextLost(GlRenderer& renderer) noexcept;

/// Why `MakeRendererCurrent` failed, as one clause. Sets `contextLost` if the context cannot be made current
/// on its own window either, although that still exists.
const char* WhyNotCurrent(GlRenderer& renderer, HWND__* window) noexcept;

/// Throws a `LoadError` if there is no usable context or its OpenGL is older than the shaders' texts need.
void RequireUsableContext(const GlRenderer& renderer);

/// True if GL calls may be made for this renderer: its context is current and the entry points are loaded.
bool IsRendererCurrent(const GlRenderer& renderer) noexcept;

/// GL_VERSION of the newest context, truncated to 39 characters; "Unknown" until there is one.
const char* GlVersionText() noexcept;

}  // namespace pixelforge
