// Several instances, several threads, and windows that cannot carry a context.
#include <gtest/gtest.h>

#include <windows.h>

#include <GL/gl.h>

#include <future>
#include <string>
#include <thread>
#include <tuple>

#include "module/module_instance.h"
#include "render/gl_renderer.h"
#include "tests/support/module_run.h"

namespace pixelforge::test {
namespace {

const std::vector<Input> kReadsA = {{.channel = 0, .id = 257}};

/// Red counts the frames, plus 16 if there are several samples; green shows whether buffers clamp at 1, blue
/// is a multiple of the time.
const std::string kCounter =
    DocumentBuilder()
        .Buffer('A', MainImage("c = vec4(texelFetch(iChannel0, ivec2(p), 0).x + 1.0 / 64.0, 3.0, 0, 1);"),
                kReadsA)
        .Image(MainImage("vec4 a = texelFetch(iChannel0, ivec2(p), 0);\n"
                         "if (gl_NumSamples > 1) a.x += 0.25;\n"
                         "c = vec4(a.x / 255.0 * 64.0, a.y / 3.0, iTime * 4.0 / 255.0, 1);"),
               kReadsA)
        .Json();

TEST(Instances, DoNotAffectEachOthersSettingsAndMayAlternateThreads) {
    ModuleRun first(kCounter, {.settings = {{"Multi-Sample", "1"}, {"Speed", "0.5"}}});
    ModuleRun second(kCounter,
                     {.width = 20, .height = 24, .settings = {{"Fast Buffers", "1"}, {"Speed", "0.25"}}});
    for (std::uint32_t frame = 1; frame <= 4; ++frame) {
        ASSERT_EQ(first.Frame(), FrameResult::Drawn) << first.Words();
        auto drawn = std::async(frame % 2 == 0 ? std::launch::async : std::launch::deferred,
                                [&second] { return second.Frame(); });
        ASSERT_EQ(drawn.get(), FrameResult::Drawn) << second.Words();
        EXPECT_EQ(first.Pixel(5, 5), (frame + 16) << 16 | 0xFF00 | 2 * frame) << "floats, sampled";
        EXPECT_EQ(second.Pixel(5, 5) & 0x10FFFF, 85u << 8 | frame) << "bytes: 1 / 3";
    }
    second.Session().Close();
    EXPECT_EQ(first.Frame(), FrameResult::Drawn);
    EXPECT_EQ(first.Pixel(5, 5), 0x15FF0Au);
}

UniqueWindow NewWindow() {
    return UniqueWindow(
        CreateWindowW(L"STATIC", L"", WS_POPUP, 0, 0, 16, 16, nullptr, nullptr, nullptr, nullptr));
}

/// A window that belongs to another thread.
struct ThreadWindow {
    ~ThreadWindow() { PostMessageW(handle, WM_QUIT, 0, 0); }

    std::promise<HWND> created;
    std::jthread thread{[this] {
        const UniqueWindow window = NewWindow();
        created.set_value(window.Get());
        for (MSG message = {}; GetMessageW(&message, nullptr, 0, 0) > 0;) {
            DispatchMessageW(&message);
        }
    }};
    HWND handle = created.get_future().get();
};

enum class CallersDc { InUse, Released, LentToAnotherWindow, LentBesideARival };

/// A window of a class that shares its device contexts, and a context that is current on it although its
/// device context may have been released. The context could also draw on the module's window.
struct Caller {
    explicit Caller(CallersDc state) : found(state != CallersDc::LentBesideARival) {
        HDC dc = GetDC(window.handle);
        for (HDC formatted : {dc, GetDC(own.Handle()), found ? nullptr : GetDC(rival.Get())}) {
            PIXELFORMATDESCRIPTOR format = {};
            format.nSize = sizeof(format);
            format.nVersion = 1;
            format.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL | PFD_DOUBLEBUFFER;
            format.cColorBits = 32;
            SetPixelFormat(formatted, ChoosePixelFormat(formatted, &format), &format);
        }
        context = wglCreateContext(dc);
        EXPECT_TRUE(wglMakeCurrent(dc, context));
        glClearColor(0.2F, 0.4F, 0.6F, 1.0F);
        glClear(GL_COLOR_BUFFER_BIT);
        if (state != CallersDc::InUse) {
            ReleaseDC(window.handle, dc);
        }
        int attempts = 0;
        while (state >= CallersDc::LentToAnotherWindow && GetDC(another.Get()) != dc && ++attempts < 100) {
        }
        EXPECT_LT(attempts, 100) << "the device context is not lent again";
    }
    /// What the window shows, through the current context.
    void ExpectCurrent(const char* when) const {
        EXPECT_EQ(wglGetCurrentContext(), found ? context : nullptr) << when;
        std::uint32_t pixel = 0;
        glReadPixels(0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, &pixel);
        EXPECT_EQ(pixel, found ? 0xFF996633U : 0) << "another window " << when;
    }
    ~Caller() {
        wglMakeCurrent(nullptr, nullptr);
        wglDeleteContext(context);
    }

    ThreadWindow window;
    UniqueWindow another = NewWindow();
    preview::HostWindow own{16, 16};   ///< with a device context of its own, so it cannot be meant
    UniqueWindow rival = NewWindow();  ///< with a pixel format, too, if the window cannot be found
    HGLRC context;
    bool found;
};

TEST(Instances, EveryExportRestoresTheCallersGlContext) {
    for (const CallersDc state : {CallersDc::InUse, CallersDc::Released, CallersDc::LentToAnotherWindow,
                                  CallersDc::LentBesideARival}) {
        SCOPED_TRACE(static_cast<int>(state));
        const Caller caller(state);
        ModuleRun good(kCounter);
        DrawContext& context = good.Session().Context();
        static int notices;
        notices = 0;
        context.infoTextCallback = [](const wchar_t*) {
            static_cast<void>(notices++ || wglMakeCurrent(nullptr, nullptr));
        };
        Module().Functions().preInitialize(good.Session().Instance(), &context);
        EXPECT_EQ(good.Frame(), FrameResult::Drawn) << "the overlay's callback changes the context";
        caller.ExpectCurrent("after a load");
        EXPECT_EQ(good.Frame(), FrameResult::Drawn);
        caller.ExpectCurrent("after a frame");
        good.Session().Close();
        caller.ExpectCurrent("after destruction");
        EXPECT_EQ(notices, 2) << "one for the load, one for the clean-up";
        ModuleRun bad(DocumentBuilder().Image("not GLSL").Json());
        EXPECT_EQ(bad.Frame(), FrameResult::Failed);
        caller.ExpectCurrent("after a failed load");
    }
}

TEST(Instances, ThatCannotDrawFailEachFrameWithOneLineUntilTheyCan) {
    const preview::HostWindow other(32, 24);
    HWND const destroyed = preview::HostWindow(32, 24).Handle();
    const HWND noBitmap = GetDesktopWindow();  // stands for the usable window
    const std::tuple<HWND, bool, const char*> cases[] = {
        {nullptr, false, "the window does not exist"},
        {destroyed, false, "the window does not exist"},
        {other.Handle(), false, "the window is not the one given at pre-initialisation"},
        {nullptr, true, "there was no window at pre-initialisation"},
        {noBitmap, false, "the bitmap is missing, not 32-bit or not of the frame's size"}};
    for (const auto& [window, atPreInitialisation, words] : cases) {
        ModuleRun run(kCounter);
        DrawContext& context = run.Session().Context();
        const DrawContext usable = context;
        context.window = window == noBitmap ? usable.window : window;
        context.bitmap = window == noBitmap ? nullptr : usable.bitmap;
        if (atPreInitialisation) {
            Module().Functions().preInitialize(run.Session().Instance(), &context);
        }
        EXPECT_EQ(run.Frames(3), FrameResult::Failed) << "the shader loads, but cannot be shown";
        context = usable;
        EXPECT_EQ(run.Frame(), atPreInitialisation ? FrameResult::Failed : FrameResult::Drawn);
        EXPECT_EQ(run.Words(), std::string("Pixelforge: cannot draw: ") + words + "\n");
    }
}

TEST(Instances, LoadAgainAfterTheirGlContextIsLostButNotTwiceInAMinute) {
    ModuleRun run(kCounter);
    const std::string line = "Pixelforge: cannot draw: the OpenGL context is lost\n";
    const auto lose = [&] {
        wglDeleteContext(run.Session().Instance()->renderer->context);
        EXPECT_EQ(run.Frame(), FrameResult::Failed);
    };
    EXPECT_EQ(run.Frames(2), FrameResult::Drawn);
    lose();
    EXPECT_EQ(run.Frame(), FrameResult::Drawn) << run.Words();
    EXPECT_EQ(run.Pixel(5, 5) >> 16, 1U) << "the counter starts again";
    lose();
    EXPECT_EQ(run.Frames(2), FrameResult::NothingDrawn) << "the error screen";
    EXPECT_EQ(run.Words(), line + line);
    run.Session().Initialize();
    EXPECT_EQ(run.Frame(), FrameResult::Drawn);
}

}  // namespace
}  // namespace pixelforge::test
