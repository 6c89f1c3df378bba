// Several instances, several threads, and windows that cannot carry a context.
#include <gtest/gtest.h>

#include <thread>

#include "tests/end_to_end/module_run.h"

namespace pixelforge::test {
namespace {

const std::vector<Input> kReadsA = {{.channel = 0, .id = 257}};

/// Red counts the frames, green shows whether buffers clamp at 1, blue is a multiple of the time.
const std::string kCounter =
    DocumentBuilder()
        .Buffer('A', MainImage("c = vec4(texelFetch(iChannel0, ivec2(p), 0).x + 1.0 / 64.0, 3.0, 0, 1);"),
                kReadsA)
        .Image(MainImage("vec4 a = texelFetch(iChannel0, ivec2(p), 0);\n"
                         "c = vec4(a.x / 255.0 * 64.0, a.y / 3.0, iTime * 4.0 / 255.0, 1);"),
               kReadsA)
        .Json();

TEST(Instances, DoNotAffectEachOthersSettings) {
    RunOptions sampled;
    sampled.settings = {{"Multi-Sample", "1"}, {"Speed", "0.5"}};
    RunOptions fast;
    fast.width = 20;
    fast.settings = {{"Fast Buffers", "1"}, {"Speed", "0.25"}};
    ModuleRun first(kCounter, sampled);
    ModuleRun second(kCounter, fast);
    for (std::uint32_t frame = 1; frame <= 4; ++frame) {
        ASSERT_EQ(first.Frame(), FrameResult::Drawn) << first.Words();
        ASSERT_EQ(second.Frame(), FrameResult::Drawn) << second.Words();
        EXPECT_EQ(first.Pixel(5, 5), frame << 16 | 0xFF00 | 2 * frame) << "floats, sampled";
        EXPECT_EQ(second.Pixel(5, 5) & 0xFFFF, 85u << 8 | frame) << "bytes: 1 / 3";
    }
    second.Session().Close();
    EXPECT_EQ(first.Frame(), FrameResult::Drawn);
    EXPECT_EQ(first.Pixel(5, 5), 0x05FF0Au);
}

TEST(Instances, MayDrawFromAlternatingThreads) {
    ModuleRun run(kCounter);
    for (std::uint32_t frame = 1; frame <= 5; frame += 2) {
        ASSERT_EQ(run.Frame(), FrameResult::Drawn);
        EXPECT_EQ(run.Pixel(5, 5) >> 16, frame);
        std::int32_t result = -1;
        std::thread([&] {
            result = Module().Functions().drawFrame(run.Session().Instance(), &run.Session().Context());
        }).join();
        EXPECT_EQ(result, 1);
        EXPECT_EQ(run.Pixel(5, 5) >> 16, frame + 1);
    }
}

TEST(Instances, EveryExportRestoresTheCallersGlContext) {
    const preview::HostWindow window(16, 16);
    const HDC dc = GetDC(window.Handle());
    PIXELFORMATDESCRIPTOR format = {};
    format.nSize = sizeof(format);
    format.nVersion = 1;
    format.dwFlags = PFD_DRAW_TO_WINDOW | PFD_SUPPORT_OPENGL;
    format.cColorBits = 32;
    SetPixelFormat(dc, ChoosePixelFormat(dc, &format), &format);
    const HGLRC context = wglCreateContext(dc);
    ASSERT_TRUE(wglMakeCurrent(dc, context));
    {
        ModuleRun good(kCounter);
        EXPECT_EQ(good.Frame(), FrameResult::Drawn);
        EXPECT_EQ(wglGetCurrentContext(), context) << "after a load";
        EXPECT_EQ(good.Frame(), FrameResult::Drawn);
        EXPECT_EQ(wglGetCurrentContext(), context) << "after a frame";
        ModuleRun bad(DocumentBuilder().Image("not GLSL").Json());
        EXPECT_EQ(bad.Frame(), FrameResult::Failed);
        EXPECT_EQ(wglGetCurrentContext(), context) << "after a failed load";
    }
    EXPECT_EQ(wglGetCurrentContext(), context) << "after destruction";
    wglMakeCurrent(nullptr, nullptr);
    wglDeleteContext(context);
}

TEST(Instances, WithoutAUsableWindowFailEachFrameUntilThereIsOne) {
    ModuleRun run(kCounter);
    HWND const window = std::exchange(run.Session().Context().window, nullptr);
    EXPECT_EQ(run.Frames(2), FrameResult::Failed) << "the shader loads, but its context has no window";
    run.Session().Context().window = window;
    EXPECT_EQ(run.Frame(), FrameResult::Drawn) << run.Words();
}

}  // namespace
}  // namespace pixelforge::test
