// Makes a short-lived OpenGL context and reads the driver's texts.
#include "preview/gl_info.h"

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

/// Makes a context current and puts back the former one at the end of the scope.
class CurrentContext {
public:
    CurrentContext(HDC dc, HGLRC context)
        : formerDc_(wglGetCurrentDC()),
          former_(wglGetCurrentContext()),
          current_(wglMakeCurrent(dc, context)) {}
    ~CurrentContext() { wglMakeCurrent(formerDc_, former_); }
    CurrentContext(const CurrentContext&) = delete;
    CurrentContext& operator=(const CurrentContext&) = delete;

    explicit operator bool() const noexcept { return current_ != FALSE; }

private:
    HDC formerDc_;
    HGLRC former_;
    BOOL current_;
};

bool ChooseFormat(HDC dc) {
    PIXELFORMATDESCRIPTOR format{};
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
    return text != nullptr ? reinterpret_cast<const char*>(text) : "";
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
