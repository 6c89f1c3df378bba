// GL contexts: creation on a given or a hidden window, making current, release.
#include "render/gl_context.h"

#include <windows.h>

#include <GL/glew.h>

#include <cstring>

#include "base/win_handles.h"
#include "render/gl_renderer.h"

namespace pixelforge {
namespace {

constexpr wchar_t kHiddenClassName[] = L"OGLHiddenWindowClass";
constexpr wchar_t kHiddenWindowName[] = L"OGLHiddenWindow";

char glVersionText[40] = "Unknown";

LRESULT CALLBACK HiddenWindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_CLOSE) {
        DestroyWindow(window);
        return 0;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

/// The module that contains this code: the DLL, not the host's executable.
HINSTANCE OwnModule() noexcept {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<const wchar_t*>(&HiddenWindowProcedure), &module);
    return module;
}

/// A window of one pixel that is never shown, and its class. Needed only while the context is created.
class HiddenWindow {
public:
    HiddenWindow() : class_(Describe()) {
        window_ = CreateWindowExW(0, kHiddenClassName, kHiddenWindowName,
                                  WS_POPUP | WS_CLIPSIBLINGS | WS_CLIPCHILDREN, 0, 0, 1, 1, nullptr, nullptr,
                                  OwnModule(), nullptr);
        if (window_) {
            ShowWindow(window_, SW_HIDE);
            UpdateWindow(window_);
        }
    }
    ~HiddenWindow() {
        if (window_) {
            SendMessageW(window_, WM_CLOSE, 0, 0);
        }
    }
    HiddenWindow(const HiddenWindow&) = delete;
    HiddenWindow& operator=(const HiddenWindow&) = delete;

    HWND Get() const noexcept { return window_; }

private:
    static WNDCLASSEXW Describe() noexcept {
        WNDCLASSEXW description = {};
        description.cbSize = sizeof(description);
        description.style = CS_HREDRAW | CS_VREDRAW | CS_OWNDC;
        description.lpfnWndProc = HiddenWindowProcedure;
        description.hInstance = OwnModule();
        description.hbrBackground = static_cast<HBRUSH>(GetStockObject(NULL_BRUSH));
        description.lpszClassName = kHiddenClassName;
        return description;
    }

    WindowClass class_;
    HWND window_ = nullptr;
};

/// A window keeps its first pixel format for life; later attempts fail without effect.
void SetWindowPixelFormat(HDC dc) noexcept {
    PIXELFORMATDESCRIPTOR format = {};
    format.nSize = sizeof(format);
    format.nVersion = 1;
    format.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
    format.iPixelType = PFD_TYPE_RGBA;
    format.cColorBits = 32;
    const int closest = ChoosePixelFormat(dc, &format);
    DescribePixelFormat(dc, closest, sizeof(format), &format);
    SetPixelFormat(dc, closest, &format);
}

/// Creates a context on the window and makes it current, replacing the renderer's earlier one.
bool CreateOnWindow(GlRenderer& renderer, HWND window) noexcept {
    const WindowDc dc(window);
    if (!dc) {
        return false;
    }
    SetWindowPixelFormat(dc.Get());
    const HGLRC context = wglCreateContext(dc.Get());
    if (!context) {
        return false;
    }
    if (!wglMakeCurrent(dc.Get(), context)) {
        wglDeleteContext(context);
        return false;
    }
    if (renderer.context) {
        wglDeleteContext(renderer.context);
    }
    renderer.context = context;
    renderer.contextReady = 1;
    renderer.ownerThread = GetCurrentThreadId();
    return true;
}

/// With experimental loading GLEW looks up every function by name, whatever extensions the driver lists.
bool LoadEntryPoints() noexcept {
    if (const GLubyte* version = glGetString(GL_VERSION)) {
        std::strncpy(glVersionText, reinterpret_cast<const char*>(version), sizeof(glVersionText) - 1);
    }
    glewExperimental = GL_TRUE;
    return glewInit() == GLEW_OK && GLEW_VERSION_3_3 && IsGlUsable();
}

}  // namespace

CurrentContextKeeper::CurrentContextKeeper() noexcept
    : dc_(wglGetCurrentDC()), context_(wglGetCurrentContext()) {}

CurrentContextKeeper::~CurrentContextKeeper() {
    if (wglGetCurrentContext() == context_ && wglGetCurrentDC() == dc_) {
        return;
    }
    if (!context_ || !wglMakeCurrent(dc_, context_)) {
        wglMakeCurrent(nullptr, nullptr);
    }
}

void CurrentContextKeeper::Forget(HGLRC context) noexcept {
    if (context_ == context) {
        dc_ = nullptr;
        context_ = nullptr;
    }
}

bool CreateContext(GlRenderer& renderer, HWND window) {
    if (renderer.context) {
        return CreateOnWindow(renderer, renderer.hostWindow) && renderer.glewReady;
    }
    renderer.contextReady = 0;
    renderer.glewReady = 0;
    renderer.contextWindow = window;
    renderer.useGivenWindow = 1;
    if (window) {
        renderer.glewReady = CreateOnWindow(renderer, window) && LoadEntryPoints();
    } else {
        const HiddenWindow hidden;
        renderer.glewReady = hidden.Get() && CreateOnWindow(renderer, hidden.Get()) && LoadEntryPoints();
    }
    return renderer.glewReady;
}

void MakeCurrentForRelease(GlRenderer& renderer) noexcept {
    if (IsRendererCurrent(renderer)) {
        return;
    }
    if (!renderer.hostWindow || !MakeRendererCurrent(renderer, renderer.hostWindow)) {
        wglMakeCurrent(nullptr, nullptr);
    }
}

void ReleaseContext(GlRenderer& renderer) noexcept {
    if (!renderer.context) {
        return;
    }
    MakeCurrentForRelease(renderer);
    if (IsRendererCurrent(renderer)) {
        glFlush();
    }
    renderer.outputFramebuffer.Reset();
    renderer.outputTexture.Reset();
    wglMakeCurrent(nullptr, nullptr);
    wglDeleteContext(renderer.context);
    renderer.context = nullptr;
    renderer.contextReady = 0;
}

bool MakeRendererCurrent(GlRenderer& renderer, HWND window) noexcept {
    if (!renderer.contextReady || !renderer.glewReady) {
        return false;
    }
    const WindowDc dc(window);
    wglMakeCurrent(nullptr, nullptr);
    return dc && wglMakeCurrent(dc.Get(), renderer.context) && IsGlUsable();
}

bool IsRendererCurrent(const GlRenderer& renderer) noexcept {
    return renderer.contextReady && renderer.glewReady && wglGetCurrentContext() == renderer.context &&
           IsGlUsable();
}

const char* GlVersionText() noexcept {
    return glVersionText;
}

}  // namespace pixelforge
