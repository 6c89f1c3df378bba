// Hundreds of loads and thousands of frames in one process: nothing may pile up.
#include <gtest/gtest.h>
#include <windows.h>

#include <GL/gl.h>
#include <mmdeviceapi.h>
#include <objbase.h>
#include <strmif.h>
#include <uuids.h>
#include <wrl/client.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <vector>

#include "base/win_handles.h"
#include "module/module_instance.h"
#include "render/gl_renderer.h"
#include "tests/end_to_end/module_run.h"
#include "tests/support/process_census.h"

namespace pixelforge::test {
namespace {

/// The memory is what is resident, the handles are those of kernel objects, the names are those of all kinds
/// in one GL context, or 0 without one.
enum Resource { kKilobytes, kHandles, kGdiObjects, kGlNames };
constexpr const char* kResourceNames[] = {"KB", "handles", "GDI objects", "GL names"};

/// Indexed by `Resource`.
using ProcessUsage = std::array<std::int64_t, 4>;

/// A handle's low word is its slot. So many new objects fill every free slot, and the highest slot then tells
/// how many others there are.
std::int64_t CountGdiObjects() {
    constexpr std::int64_t kMoreThanFree = 4000;
    std::vector<UniqueBrush> brushes;
    std::int64_t highest = 0;
    for (std::int64_t i = 0; i < kMoreThanFree; ++i) {
        brushes.emplace_back(CreateSolidBrush(RGB(1, 2, 3)));
        const auto handle = reinterpret_cast<std::uintptr_t>(brushes.back().Get());
        highest = std::max(highest, static_cast<std::int64_t>(handle & 0xFFFF));
    }
    return highest - kMoreThanFree;
}

/// Names are handed out from 1 on without gaps, and given back ones again.
std::int64_t CountGlNames() {
    constexpr GLuint kHighestLookedAt = 20000;
    using IsName = GLboolean(APIENTRY*)(GLuint);
    std::vector<IsName> kinds = {glIsTexture};
    for (const char* entry :
         {"glIsFramebuffer", "glIsBuffer", "glIsVertexArray", "glIsProgram", "glIsShader", "glIsSampler"}) {
        kinds.push_back(reinterpret_cast<IsName>(reinterpret_cast<void (*)()>(wglGetProcAddress(entry))));
    }
    std::int64_t count = 0;
    for (const IsName isName : kinds) {
        for (GLuint name = 1; name <= kHighestLookedAt; ++name) {
            count += isName(name) ? 1 : 0;
        }
    }
    return count;
}

std::int64_t CountGlNamesOf(HWND window, HGLRC context) {
    const WindowDc dc(window);
    const std::int64_t count = wglMakeCurrent(dc.Get(), context) ? CountGlNames() : -1;
    wglMakeCurrent(nullptr, nullptr);
    return count;
}

/// Measured in ways that also work where the system's own counters always say 0. `context` may be null; it is
/// current only during the call, on `window`.
ProcessUsage MeasureUsage(HWND window = nullptr, HGLRC context = nullptr) {
    GdiFlush();
    return {static_cast<std::int64_t>(WorkingSetBytes() / 1024), static_cast<std::int64_t>(OpenHandles()),
            CountGdiObjects(), context ? CountGlNamesOf(window, context) : 0};
}

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
constexpr ProcessUsage kTolerance = {8 * 1024, 4, 16, 0};

template <class Object>
Microsoft::WRL::ComPtr<Object> TryToMake(const CLSID& kind) {
    Microsoft::WRL::ComPtr<Object> object;
    CoCreateInstance(kind, nullptr, CLSCTX_ALL, IID_PPV_ARGS(&object));
    return object;
}

void SearchForSound() {
    TryToMake<IUnknown>(__uuidof(MMDeviceEnumerator));
}

void SearchForACamera() {
    CoInitialize(nullptr);
    {
        const auto graph = TryToMake<IUnknown>(CLSID_FilterGraph);
        const auto renderer = TryToMake<IUnknown>(CLSID_VideoMixingRenderer);
        const auto devices = TryToMake<ICreateDevEnum>(CLSID_SystemDeviceEnum);
        Microsoft::WRL::ComPtr<IEnumMoniker> cameras;
        if (devices) {
            devices->CreateClassEnumerator(CLSID_VideoInputDeviceCategory, &cameras, 0);
        }
    }
    CoUninitialize();
}

/// Some systems keep handles of every object of a kind, or of every try to make one: how many of each, when
/// nothing of ours is in it.
std::int64_t HandlesThatTheSystemKeepsOf(void (*search)()) {
    constexpr int kSearches = 50;
    std::int64_t before = 0;
    for (int i = 0; i <= kSearches; ++i) {
        search();
        // The first one loads what later ones share.
        before = i == 0 ? static_cast<std::int64_t>(OpenHandles()) : before;
    }
    // Meanwhile others come and go.
    return std::lround(static_cast<double>(static_cast<std::int64_t>(OpenHandles()) - before) / kSearches);
}

/// What the process holds, and since when.
struct Start {
    ProcessUsage usage = {};
    std::chrono::steady_clock::time_point time = {};
};

/// `cameraSearches` is the number of times that the module looked for a camera.
void ExpectFlat(const Start& start, const ProcessUsage& now, int cameraSearches = 0) {
    const auto time = std::chrono::steady_clock::now() - start.time;
    // Without a sound device the module looks for one every two seconds.
    const std::int64_t searches = time / std::chrono::seconds(2) + 1;
    ProcessUsage allowed = kTolerance;
    allowed[kHandles] += searches * HandlesThatTheSystemKeepsOf(SearchForSound) +
                         cameraSearches * HandlesThatTheSystemKeepsOf(SearchForACamera);
    for (const Resource resource : {kKilobytes, kHandles, kGdiObjects, kGlNames}) {
        const std::int64_t grown = now[resource] - start.usage[resource];
        std::printf("%lld more %s, %lld allowed\n", static_cast<long long>(grown), kResourceNames[resource],
                    static_cast<long long>(allowed[resource]));
        EXPECT_LE(grown, allowed[resource]) << kResourceNames[resource];
    }
}

ProcessUsage UsageOf(ModuleRun& run) {
    return MeasureUsage(run.Session().Window().Handle(), run.Session().Instance()->renderer->context);
}

TEST(Soak, PlantedLeaksAreSeen) {
    ModuleRun run(Document());
    ASSERT_EQ(run.Frames(3), FrameResult::Drawn) << run.Words();
    static std::vector<char> memory;
    const std::function<void(int)> leaks[] = {
        [](int i) { memory.resize(static_cast<std::size_t>(i + 1) << 20, 'x'); },
        [](int) { CreateEventW(nullptr, TRUE, FALSE, nullptr); },
        [](int i) { CreateSolidBrush(RGB(i, 0, 0)); },
        [&run](int) {
            const WindowDc dc(run.Session().Window().Handle());
            wglMakeCurrent(dc.Get(), run.Session().Instance()->renderer->context);
            GLuint name = 0;
            glGenTextures(1, &name);
            glBindTexture(GL_TEXTURE_2D, name);
            wglMakeCurrent(nullptr, nullptr);
        },
    };
    constexpr int kPlanted = 20;
    for (const Resource resource : {kKilobytes, kHandles, kGdiObjects, kGlNames}) {
        const ProcessUsage before = UsageOf(run);
        for (int i = 0; i < kPlanted; ++i) {
            leaks[resource](i);
        }
        EXPECT_GT(UsageOf(run)[resource] - before[resource], kTolerance[resource])
            << kResourceNames[resource];
    }
}

/// Measures around `loads` calls behind a few that warm up.
template <class Load>
void ExpectFlatOver(int loads, Load load, int cameraSearches = 0) {
    constexpr int kWarmUp = 20;
    Start start;
    for (int i = 0; i < kWarmUp + loads; ++i) {
        if (i == kWarmUp) {
            start = {MeasureUsage(), std::chrono::steady_clock::now()};
        }
        ASSERT_NO_FATAL_FAILURE(load(i)) << "load " << i;
    }
    ExpectFlat(start, MeasureUsage(), cameraSearches);
}

TEST(Soak, FiveHundredLoadsLeaveNothingBehind) {
    const std::string document = Document();
    const std::string broken = DocumentBuilder().Image("no GLSL at all").Json();
    ExpectFlatOver(500, [&](int number) {
        const bool fails = number % 5 == 4;
        ModuleRun run(fails ? broken : document);
        ASSERT_EQ(run.Frame(), fails ? FrameResult::Failed : FrameResult::Drawn) << run.Words();
    });
}

/// One load's pictures take 800 KB.
TEST(Soak, TwoHundredLoadsOfEveryKindOfInputLeaveNothingBehind) {
    constexpr int kLoads = 200;
    // The examples name their media from their own folder.
    std::filesystem::current_path(PIXELFORGE_SOURCE_DIR "/examples");
    std::ifstream file("kinds.json", std::ios::binary);
    const std::string document{std::istreambuf_iterator<char>(file), {}};
    const auto load = [&document](int) {
        ModuleRun run(document);
        ASSERT_EQ(run.Frame(), FrameResult::Drawn) << run.Words();
        ASSERT_EQ(run.Words().find("stays empty"), std::string::npos) << run.Words();
    };
    // A webcam channel looks for the camera at each load.
    ExpectFlatOver(kLoads, load, kLoads);
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
    Start start;
    for (int frame = 0; frame < kFrames; ++frame) {
        if (frame > 0 && frame % kFramesPerSize == 0) {
            const bool larger = frame / kFramesPerSize % 2 == 1;
            surface = Resize(run, larger ? 80 : 64, larger ? 60 : 48);
        }
        ASSERT_EQ(run.Frame(), FrameResult::Drawn) << "frame " << frame << "\n" << run.Words();
        if (frame == kWarmUp) {
            start = {UsageOf(run), std::chrono::steady_clock::now()};
        }
    }
    ExpectFlat(start, UsageOf(run));
}

}  // namespace
}  // namespace pixelforge::test
