// GL contexts: creating one, making it current for a frame, and putting back what was current before.
#pragma once

struct HDC__;
struct HGLRC__;
struct HWND__;

namespace pixelforge {

struct GlRenderer;

/// Remembers the context that is current on this thread and makes it current again at the end of the
/// scope; when there was none, or it is gone by then, nothing is current afterwards.
class CurrentContextKeeper {
public:
    CurrentContextKeeper() noexcept;
    ~CurrentContextKeeper();
    CurrentContextKeeper(const CurrentContextKeeper&) = delete;
    CurrentContextKeeper& operator=(const CurrentContextKeeper&) = delete;

    /// Leaves nothing current at the end when the remembered context is this one.
    void Forget(HGLRC__* context) noexcept;

private:
    HDC__* dc_;
    HGLRC__* context_;
};

/// Creates the renderer's context on `window`, or on a hidden window when that is null, makes it current
/// and loads the entry points. True when they are ready; `contextReady` and `glewReady` tell more.
bool CreateContext(GlRenderer& renderer, HWND__* window);

/// Makes the renderer's context current so that its names can be deleted. When that cannot be done nothing
/// is current afterwards: the names then die with their context, and none is deleted in a stranger's.
void MakeCurrentForRelease(GlRenderer& renderer) noexcept;

/// Deletes the output framebuffer and texture, unbinds the context and deletes it.
void ReleaseContext(GlRenderer& renderer) noexcept;

/// Makes the renderer's context current on the window's device context. False, without any GL call, when
/// the context or the entry points are not ready or the context cannot be made current there.
bool MakeRendererCurrent(GlRenderer& renderer, HWND__* window) noexcept;

/// True when GL calls may be made for this renderer: its context is current and the entry points are there.
bool IsRendererCurrent(const GlRenderer& renderer) noexcept;

/// GL_VERSION of the newest context, cut to 39 characters; "Unknown" until a context has told it.
const char* GlVersionText() noexcept;

}  // namespace pixelforge
