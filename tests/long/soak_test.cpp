// Hundreds of loads and thousands of frames in one process: nothing may pile up.
#include <gtest/gtest.h>
#include <windows.h>

#include <GL/gl.h>

#include <cstdio>
#include <memory>
#include <utility>
#include <vector>

#include "base/win_handles.h"
#include "module/module_instance.h"
#include "render/gl_renderer.h"
#include "tests/end_to_end/module_run.h"
#include "tests/long/process_usage.h"

namespace pixelforge::test {
namespace {

/// Flat targets that are read, mipmaps and the keyboard.
std::string Document() {
    return DocumentBuilder()
        .Buffer(
            'A', MainImage("c = texture(iChannel0, p / iResolution.xy) * 0.5 + texture(iChannel1, p).x;"),
            {{.channel = 0, .id = 257, .filter = "mipmap"}, {.channel = 1, .ctype = "keyboard", .id = 33}})
        .Image(MainImage("c = texture(iChannel0, p / iResolution.xy) + 0.5;"), {{.channel = 0, .id = 257}})
        .Json();
}

/// What may come and go by itself between two measurements.
constexpr ProcessUsage kTolerance = {.kilobytes = 8 * 1024, .handles = 4, .gdiObjects = 4, .glNames = 0};

void ExpectFlat(const ProcessUsage& before, const ProcessUsage& after) {
    std::printf("before: %s\nafter:  %s\n", Describe(before).c_str(), Describe(after).c_str());
    EXPECT_LE(after.kilobytes - before.kilobytes, kTolerance.kilobytes);
    EXPECT_LE(after.handles - before.handles, kTolerance.handles);
    EXPECT_LE(after.gdiObjects - before.gdiObjects, kTolerance.gdiObjects);
    EXPECT_EQ(after.glNames, before.glNames);
}

ProcessUsage UsageOf(ModuleRun& run) {
    return MeasureUsage(run.Session().Window().Handle(), run.Session().Instance()->renderer->context);
}

/// Measures around `work` in the run's own context.
template <class Work>
std::pair<ProcessUsage, ProcessUsage> Around(ModuleRun& run, Work work) {
    const ProcessUsage before = UsageOf(run);
    work();
    return {before, UsageOf(run)};
}

constexpr int kPlanted = 100;

TEST(Soak, PlantedLeaksAreSeen) {
    ModuleRun run(Document());
    ASSERT_EQ(run.Frames(3), FrameResult::Drawn) << run.Words();
    const auto [handlesBefore, handlesAfter] = Around(run, [] {
        for (int i = 0; i < kPlanted; ++i)
            CreateEventW(nullptr, TRUE, FALSE, nullptr);
    });
    EXPECT_GE(handlesAfter.handles - handlesBefore.handles, kPlanted);
    const auto [gdiBefore, gdiAfter] = Around(run, [] {
        for (int i = 0; i < kPlanted; ++i)
            CreateSolidBrush(RGB(i, 0, 0));
    });
    EXPECT_GE(gdiAfter.gdiObjects - gdiBefore.gdiObjects, kPlanted);
    static std::vector<char> memory;
    const auto [memoryBefore, memoryAfter] = Around(run, [] { memory.assign(16 << 20, 'x'); });
    EXPECT_GT(memoryAfter.kilobytes - memoryBefore.kilobytes, kTolerance.kilobytes);
    const auto [namesBefore, namesAfter] = Around(run, [&] {
        const WindowDc dc(run.Session().Window().Handle());
        wglMakeCurrent(dc.Get(), run.Session().Instance()->renderer->context);
        GLuint name = 0;
        glGenTextures(1, &name);
        glBindTexture(GL_TEXTURE_2D, name);
        wglMakeCurrent(nullptr, nullptr);
    });
    EXPECT_EQ(namesAfter.glNames - namesBefore.glNames, 1);
}

TEST(Soak, FiveHundredLoadsLeaveNothingBehind) {
    constexpr int kWarmUp = 20;
    constexpr int kCycles = 500;
    const std::string document = Document();
    const std::string broken = DocumentBuilder().Image("no GLSL at all").Json();
    const auto cycle = [&](int number) {
        const bool fails = number % 5 == 4;
        ModuleRun run(fails ? broken : document);
        ASSERT_EQ(run.Frame(), fails ? FrameResult::Failed : FrameResult::Drawn) << "cycle " << number;
    };
    for (int i = 0; i < kWarmUp; ++i) {
        ASSERT_NO_FATAL_FAILURE(cycle(i));
    }
    const ProcessUsage before = MeasureUsage();
    for (int i = 0; i < kCycles; ++i) {
        ASSERT_NO_FATAL_FAILURE(cycle(i));
    }
    ExpectFlat(before, MeasureUsage());
}

/// Gives window, bitmap and draw record another size; the module follows the window.
std::unique_ptr<preview::HostSurface> Resize(ModuleRun& run, std::int32_t width, std::int32_t height) {
    auto surface = std::make_unique<preview::HostSurface>(width, height);
    DrawContext& context = run.Session().Context();
    run.Session().Window().SetClientSize(width, height);
    context.width = width;
    context.height = height;
    context.bitmap = surface->Bitmap();
    return surface;
}

TEST(Soak, TenThousandFramesWithResizesLeaveNothingBehind) {
    constexpr int kFrames = 10000;
    constexpr int kFramesPerSize = 100;
    constexpr int kWarmUp = 1000;
    RunOptions options;
    options.width = 64;
    options.height = 48;
    ModuleRun run(Document(), options);
    std::unique_ptr<preview::HostSurface> surface;
    ProcessUsage before;
    for (int frame = 0; frame < kFrames; ++frame) {
        if (frame > 0 && frame % kFramesPerSize == 0) {
            const bool larger = frame / kFramesPerSize % 2 == 1;
            surface = Resize(run, larger ? 80 : 64, larger ? 60 : 48);
        }
        ASSERT_EQ(run.Frame(), FrameResult::Drawn) << "frame " << frame << "\n" << run.Words();
        if (frame == kWarmUp) {
            before = UsageOf(run);
        }
    }
    ExpectFlat(before, UsageOf(run));
}

}  // namespace
}  // namespace pixelforge::test
