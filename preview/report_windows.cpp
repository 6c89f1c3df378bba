// The report's OpenGL query, through a temporary context.
#include "preview/report.h"

#include <windows.h>

#include <GL/gl.h>

#include "base/win_handles.h"
#include "preview/host/host_window.h"

namespace pixelforge::preview {
namespace {

struct GlContextTraits {
    using Handle = HGLRC;
    static void Close(HGLRC context) noexcept { wglDeleteContext(context); }
};

/// Makes a context current for one scope, then restores the previous one.
class CurrentContext {
public:
    CurrentContext(HDC dc, HGLRC context)
        : previousDc_(wglGetCurrentDC()),
          previous_(wglGetCurrentContext()),
          current_(wglMakeCurrent(dc, context)) {}
    ~CurrentContext() { wglMakeCurrent(previousDc_, previous_); }
    CurrentContext(const CurrentContext&) = delete;
    CurrentContext& operator=(const CurrentContext&) = delete;

    explicit operator bool() const noexcept { return current_ != FALSE; }

private:
    HDC previousDc_;
    HGLRC previous_;
    BOOL current_;
};

bool ChooseFormat(HDC dc) {
    PIXELFORMATDESCRIPTOR format = {};
    format.nSize = sizeof format;
    format.nVersion = 1;
    format.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
    format.iPixelType = PFD_TYPE_RGBA;
    format.cColorBits = 32;
    const int index = ChoosePixelFormat(dc, &format);
    return index != 0 && SetPixelFormat(dc, index, &format);
}

std::string GlText(GLenum name) {
    const GLubyte* text = glGetString(name);
    return text ? reinterpret_cast<const char*>(text) : "";
}

}  // namespace

GlInfo QueryGlInfo() {
    const HostWindow window(1, 1);
    const WindowDc dc(window.Handle());
    if (!dc || !ChooseFormat(dc.Get())) {
        return {};
    }
    const UniqueHandle<GlContextTraits> context(wglCreateContext(dc.Get()));
    const CurrentContext current(dc.Get(), context.Get());
    if (!context || !current) {
        return {};
    }
    return {.version = GlText(GL_VERSION), .renderer = GlText(GL_RENDERER), .vendor = GlText(GL_VENDOR)};
}

}  // namespace pixelforge::preview
