// GL contexts: creation on a given or a hidden window, making current, release.
#include "render/gl_context.h"

#include <windows.h>

#include <GL/glew.h>
#include <GL/wglew.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <string>

#include "base/load_error.h"
#include "base/win_handles.h"
#include "render/gl_renderer.h"

namespace pixelforge {
namespace {

constexpr wchar_t kHiddenClassName[] = L"OGLHiddenWindowClass";
constexpr wchar_t kHiddenWindowName[] = L"OGLHiddenWindow";

constexpr const char* kNoContext = "no usable OpenGL context";

char glVersionText[40] = "Unknown";

LRESULT CALLBACK HiddenWindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_CLOSE) {
        DestroyWindow(window);
        return 0;
    }
    return DefWindowProcW(window, message, wParam, lParam);
}

bool IsReady(const GlRenderer& renderer) noexcept {
    return renderer.contextReady && renderer.glewReady && !renderer.contextLost;
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

/// A window keeps its first pixel format for life. Choosing one can take as long as all the rest of creating
/// a context.
void SetWindowPixelFormat(HDC dc) noexcept {
    if (GetPixelFormat(dc) != 0) {
        return;
    }
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

/// If the driver offers it, a context that is lost after a reset of the graphics processor, instead of
/// drawing undefined pixels from then on. GLEW knows the extension from the process's first context.
HGLRC NewContext(HDC dc, bool& reportsResets) noexcept {
    static constexpr int kLostOnReset[] = {WGL_CONTEXT_FLAGS_ARB, WGL_CONTEXT_ROBUST_ACCESS_BIT_ARB,
                                           WGL_CONTEXT_RESET_NOTIFICATION_STRATEGY_ARB,
                                           WGL_LOSE_CONTEXT_ON_RESET_ARB, 0};
    const HGLRC context = WGLEW_ARB_create_context_robustness && wglCreateContextAttribsARB
                              ? wglCreateContextAttribsARB(dc, nullptr, kLostOnReset)
                              : nullptr;
    reportsResets = context != nullptr;
    return context ? context : wglCreateContext(dc);
}

/// Creates a context on the window and makes it current, replacing the renderer's earlier one. A failure
/// leaves the earlier one current.
bool CreateOnWindow(GlRenderer& renderer, HWND window) noexcept {
    const WindowDc dc(window);
    if (!dc) {
        return false;
    }
    SetWindowPixelFormat(dc.Get());
    bool reportsResets = false;
    const HGLRC context = NewContext(dc.Get(), reportsResets);
    if (!context) {
        return false;
    }
    if (!wglMakeCurrent(dc.Get(), context)) {
        wglDeleteContext(context);
        wglMakeCurrent(renderer.context ? dc.Get() : nullptr, renderer.context);
        return false;
    }
    if (renderer.context) {
        wglDeleteContext(renderer.context);
    }
    renderer.context = context;
    renderer.contextReady = 1;
    renderer.reportsResets = reportsResets;
    renderer.ownerThread = GetCurrentThreadId();
    return true;
}

/// With experimental loading GLEW looks up every function by name and takes a version or an extension for
/// supported if it finds the addresses, which some drivers return for any name. Only `glewGetExtension` knows
/// what the driver lists.
bool LoadEntryPoints() noexcept {
    if (const GLubyte* version = glGetString(GL_VERSION)) {
        std::strncpy(glVersionText, reinterpret_cast<const char*>(version), sizeof(glVersionText) - 1);
    }
    glewExperimental = GL_TRUE;
    return glewInit() == GLEW_OK && GLEW_VERSION_3_3 && IsGlUsable();
}

/// The process's first context is created a second time if only it has shown that the driver reports resets.
bool CreateWithEntryPoints(GlRenderer& renderer, HWND window) noexcept {
    const bool reportedResets = WGLEW_ARB_create_context_robustness;
    if (!CreateOnWindow(renderer, window) || !LoadEntryPoints()) {
        return false;
    }
    if (reportedResets || !WGLEW_ARB_create_context_robustness) {
        return true;
    }
    CreateOnWindow(renderer, window);  // else the first one does
    return LoadEntryPoints();
}

/// A search for the window that a released device context belonged to.
struct DcSearch {
    HDC dc;
    HWND ownWindow;
    HWND found;
    int candidates;
    BOOL goesOn;
};

bool IsOfThisProcess(HWND window) noexcept {
    DWORD process = 0;
    return GetWindowThreadProcessId(window, &process) != 0 && process == GetCurrentProcessId();
}

/// Possible are windows with a pixel format, as GL needs one, and without a device context of their own. Of
/// several it is the one to which the system lends the same device context again: it prefers the last one.
/// They may belong to any thread, which is why the whole process is searched.
void CheckWindow(HWND window, DcSearch& search) noexcept {
    if (GetClassLongPtrW(window, GCL_STYLE) & (CS_OWNDC | CS_CLASSDC)) {
        return;
    }
    const WindowDc lent(window);
    if (lent && GetPixelFormat(lent.Get()) != 0) {
        search.goesOn = lent.Get() != search.dc;
        search.candidates = search.goesOn ? search.candidates + 1 : 1;
        search.found = window;
    }
}

BOOL CALLBACK CheckForeignWindow(HWND window, LPARAM parameter) {
    DcSearch& search = *reinterpret_cast<DcSearch*>(parameter);
    if (window != search.ownWindow && IsOfThisProcess(window)) {
        CheckWindow(window, search);
    }
    return search.goesOn;
}

BOOL CALLBACK CheckForeignWindows(HWND window, LPARAM parameter) {
    if (CheckForeignWindow(window, parameter)) {
        EnumChildWindows(window, CheckForeignWindow, parameter);
    }
    return reinterpret_cast<DcSearch*>(parameter)->goesOn;
}

/// The window of the last search, checked first: a caller that releases its device context does so in each
/// frame.
std::atomic<HWND> lastFound{nullptr};

/// Null if no window is possible, or several are and none has the same device context.
HWND SearchWindow(HDC dc, HWND ownWindow) noexcept {
    const DcSearch start = {dc, ownWindow, nullptr, 0, TRUE};
    DcSearch search = start;
    const auto parameter = reinterpret_cast<LPARAM>(&search);
    CheckForeignWindow(lastFound, parameter);
    if (search.goesOn) {
        search = start;
        EnumWindows(CheckForeignWindows, parameter);
    }
    if (search.goesOn && ownWindow) {
        DcSearch own = start;
        CheckWindow(ownWindow, own);
        search = own.goesOn && search.candidates > 0 ? search : own;
    }
    lastFound = search.candidates == 1 ? search.found : nullptr;
    return lastFound;
}

/// The system may have lent a released device context to another window since; one without a pixel format
/// cannot be the context's.
HWND WindowOf(HDC dc, HWND ownWindow) noexcept {
    const HWND window = WindowFromDC(dc);
    return window && GetPixelFormat(dc) != 0 ? window : SearchWindow(dc, ownWindow);
}

bool MakeCurrentOn(HWND window, HGLRC context) noexcept {
    const WindowDc dc(window);
    return dc && wglMakeCurrent(dc.Get(), context);
}

/// The renderer's context is current.
bool WasReset(const GlRenderer& renderer) noexcept {
    if (!renderer.reportsResets) {
        return false;
    }
    if (glewGetExtension("GL_ARB_robustness") && glGetGraphicsResetStatusARB) {
        return glGetGraphicsResetStatusARB() != GL_NO_ERROR;
    }
    return glewGetExtension("GL_KHR_robustness") && glGetGraphicsResetStatus &&
           glGetGraphicsResetStatus() != GL_NO_ERROR;
}

}  // namespace

CurrentContextKeeper::CurrentContextKeeper(HWND ownWindow) noexcept
    : dc_(wglGetCurrentDC()),
      context_(wglGetCurrentContext()),
      window_(context_ ? WindowOf(dc_, ownWindow) : nullptr) {}

CurrentContextKeeper::~CurrentContextKeeper() {
    if (wglGetCurrentContext() == context_ && wglGetCurrentDC() == dc_) {
        return;
    }
    if (!context_ || (!wglMakeCurrent(dc_, context_) && !(window_ && MakeCurrentOn(window_, context_)))) {
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
        renderer.glewReady = CreateWithEntryPoints(renderer, window);
    } else {
        const HiddenWindow hidden;
        renderer.glewReady = hidden.Get() && CreateWithEntryPoints(renderer, hidden.Get());
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
    if (!IsReady(renderer)) {
        return false;
    }
    wglMakeCurrent(nullptr, nullptr);
    if (!MakeCurrentOn(window, renderer.context) || !(IsGlUsable() || LoadEntryPoints())) {
        return false;
    }
    return !IsContextLost(renderer);
}

bool IsContextLost(GlRenderer& renderer) noexcept {
    renderer.contextLost = renderer.contextLost || (IsRendererCurrent(renderer) && WasReset(renderer));
    return renderer.contextLost;
}

bool IsRendererCurrent(const GlRenderer& renderer) noexcept {
    return IsReady(renderer) && wglGetCurrentContext() == renderer.context && IsGlUsable();
}

const char* WhyNotCurrent(GlRenderer& renderer, HWND window) noexcept {
    if (!renderer.contextReady || !renderer.glewReady) {
        return kNoContext;
    }
    if (IsWindow(renderer.hostWindow) && !MakeRendererCurrent(renderer, renderer.hostWindow)) {
        renderer.contextLost = true;
        return kContextLost;
    }
    if (!renderer.hostWindow) {
        return "there was no window at pre-initialisation";
    }
    return IsWindow(window) ? "the window is not the one given at pre-initialisation"
                            : "the window does not exist";
}

void RequireUsableContext(const GlRenderer& renderer) {
    int major = 0;
    int minor = 0;
    if (renderer.contextReady && std::sscanf(glVersionText, "%d.%d", &major, &minor) == 2 &&
        (major < 4 || (major == 4 && minor < 2))) {
        throw LoadError("needs OpenGL 4.2, this driver has " + std::to_string(major) + "." +
                        std::to_string(minor));
    }
    if (!renderer.contextReady || !renderer.glewReady) {
        throw LoadError(kNoContext);
    }
}

const char* GlVersionText() noexcept {
    return glVersionText;
}

}  // namespace pixelforge
