// Several instances, threads and windows; hosts in real processes, their folders and the libraries they load.
#include <gtest/gtest.h>

#include <windows.h>

#include <GL/gl.h>
#include <process.h>

#include <cstdio>
#include <future>
#include <string>
#include <thread>
#include <tuple>

#include "base/text.h"
#include "module/module_instance.h"
#include "preview/host/file_paths.h"
#include "render/gl_renderer.h"
#include "tests/support/module_run.h"
#include "tests/support/temp_file.h"

namespace pixelforge::test {
namespace {

/// Red counts the frames, plus 16 if multi-sampled; green shows whether buffers clamp at 1, blue the time.
const std::string kCounter =
    DocumentBuilder()
        .Buffer('A', MainImage("c = vec4(texture(iChannel0, p).x + 1.0 / 64.0, 3.0, 0, 1);"), {{}})
        .Image(MainImage("vec4 a = texture(iChannel0, p) * vec4(64, 85, 0, 0);\n"
                         "c = vec4(gl_NumSamples > 1 ? a.x + 16. : a.x, a.y, iTime * 4., 255) / 255.;"),
               {{}})
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
    preview::HostWindow own{16, 16};   ///< its device context is its own, so not mistaken for the caller's
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
    const HWND noBitmap = GetDesktopWindow();  // stands for the usable window
    const std::tuple<HWND, bool, const char*> cases[] = {
        {nullptr, false, "the window does not exist"},
        {preview::HostWindow(32, 24).Handle(), false, "the window does not exist"},  // destroyed
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
    EXPECT_EQ(run.Frames(2), FrameResult::Drawn);
    wglDeleteContext(run.Session().Instance()->renderer->context);
    EXPECT_EQ(run.Frame(), FrameResult::Failed);
    EXPECT_EQ(run.Frame(), FrameResult::Drawn) << run.Words();
    EXPECT_EQ(run.Pixel(5, 5) >> 16, 1U) << "the counter starts again";
    wglDeleteContext(run.Session().Instance()->renderer->context);
    EXPECT_EQ(run.Frame(), FrameResult::Failed);
    EXPECT_EQ(run.Frames(2), FrameResult::NothingDrawn) << "the error screen";
    EXPECT_EQ(run.Words(), line + line);
    run.Session().Initialize();
    EXPECT_EQ(run.Frame(), FrameResult::Drawn);
}

namespace fs = std::filesystem;

std::wstring Quoted(const fs::path& path) {
    return L'"' + path.wstring() + L'"';
}

const fs::path kPrograms = fs::path(preview::ModulePathBesideProgram()).parent_path();

/// Removes a folder and its parents while they are empty, as other hosts may use them; never a drive's root.
void RemoveEmptyFolders(fs::path folder) {
    std::error_code notEmpty;
    while (folder.has_relative_path() && fs::remove(folder, notEmpty)) {
        folder = folder.parent_path();
    }
}

TEST(HostModes, EachKindOfHostGetsItsFoldersAndCache) {
    const TempFolder temp;
    const fs::path output = temp.Path() / "folders";
    const fs::path portable = temp.Path();
    const fs::path installed = fs::path(_wgetenv(L"ProgramFiles")) / "Larkvane" / "Moonreel";
    const fs::path ofTheUser = fs::path(_wgetenv(L"APPDATA")) / "Larkvane" / "Moonreel";
    // The host, its three folders, and what is appended to its path.
    const std::tuple<fs::path, fs::path, fs::path, fs::path, std::wstring> cases[] = {
        {portable / "h.exe", portable, portable / "DLL", portable, L""},
        {installed / "test" / "h.exe", installed, installed / "DLL", ofTheUser, L""},
        {portable / "h.exe", "", "\\DLL", "", std::wstring(240, L'x')}};
    for (const auto& [host, program, library, data, longer] : cases) {
        fs::create_directories(host.parent_path());
        const fs::path tree = (data.empty() ? "\\" : data) / "Pixelforge";
        fs::create_directories(tree.parent_path());
        fs::copy_file(kPrograms / "host_probe.exe", host, fs::copy_options::overwrite_existing);
        _wspawnl(_P_WAIT, host.c_str(), Quoted(host).c_str(), Quoted(kPrograms / "Pixelforge.dll").c_str(),
                 Quoted(output).c_str(), Quoted(longer).c_str(), static_cast<wchar_t*>(nullptr));
        fs::remove(host);
        RemoveEmptyFolders(host.parent_path());
        EXPECT_EQ(preview::ReadInputFile(output),
                  program.string() + "\r\n" + library.string() + "\r\n" + data.string() + "\r\n");
        for (const char* made :
             {"Shaders", "PixelforgeCache/Shaders", "PixelforgeCache/Assets", "PixelforgeCache/Searches"}) {
            EXPECT_EQ(fs::is_directory(tree / made), !data.empty()) << tree << ": " << made;
            RemoveEmptyFolders(tree / made);
        }
    }
}

TEST(ExampleHost, DrawsAPlaylist) {
    const std::string document = ImageDocument("c = vec4(1.0, iFrame == 58 ? 0.6 : 0.0, 0.2, 1.0);");
    const auto list = preview::StagedShader::OfDocument(BytesOf(document));
    FILE* out = _popen(((kPrograms / "example_host.exe").string() + " " + list.PlaylistName()).c_str(), "r");
    char color[16] = {};
    EXPECT_TRUE(out && std::fgets(color, sizeof color, out));
    EXPECT_EQ(_pclose(out), 0);
    EXPECT_STREQ(color, "ff9933\n");
}

// The sound system looks for an optional library, wineoss.drv, by name alone.
TEST(HostModes, PreviewLoadsNoLibraryFromTheShadersFolder) {
    const TempFolder temp;
    const fs::path mark = temp.Path() / "planted library ran";
    const fs::path library = temp.Path() / "wineoss.drv";
    fs::copy_file(kPrograms / "planted_library.dll", library);
    const fs::path shader =
        temp.Write("a.glsl", "//@ iChannel0 sound\nvoid mainImage(out vec4 c, vec2 p) {}");
    const fs::path preview = kPrograms / "preview.exe";
    EXPECT_FALSE(_wspawnl(_P_WAIT, preview.c_str(), Quoted(preview).c_str(), Quoted(shader).c_str(),
                          L"--size", L"64x36", static_cast<wchar_t*>(nullptr)));
    EXPECT_FALSE(fs::exists(mark));
    FreeLibrary(LoadLibraryW(library.c_str()));
    EXPECT_TRUE(fs::exists(mark)) << "the planted library would not have shown that it ran";
}

// The system has already stopped all other threads, perhaps while they held the module's locks.
TEST(HostModes, TheModuleDoesNothingWhenTheProcessEnds) {
    const fs::path mark = kPrograms / "planted library ran";
    const auto endWithALiveInstance = [] {
        LoadLibraryW((kPrograms / "planted_library.dll").c_str());  // first, so that it is detached last
        ModuleRun run(ImageDocument("c = vec4(1);"));
        SetWindowTextW(run.Session().Window().Handle(), L"subclassed");
        run.Frame();
        ExitProcess(7);
    };
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(endWithALiveInstance(), testing::ExitedWithCode(7), "");
    EXPECT_EQ(preview::ReadInputFile(mark), "last, beside a subclassed window");
    fs::remove(mark);
}

}  // namespace
}  // namespace pixelforge::test
