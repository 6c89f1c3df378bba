// Hundreds of loads and thousands of frames in one process must not leak.
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

/// Working set; kernel handles; GDI objects; GL object names of all kinds, 0 without an instance.
enum Resource { kKilobytes, kHandles, kGdiObjects, kGlNames };
constexpr const char* kResourceNames[] = {"KB", "handles", "GDI objects", "GL names"};

/// Indexed by `Resource`.
using ProcessUsage = std::array<std::int64_t, 4>;

/// A handle's low word is its slot. Enough new brushes leave no slot free, so that the highest slot is the
/// total number of objects.
std::int64_t CountGdiObjects() {
    constexpr std::int64_t kBrushes = 4000;
    std::vector<UniqueBrush> brushes;
    std::int64_t highest = 0;
    for (std::int64_t i = 0; i < kBrushes; ++i) {
        brushes.emplace_back(CreateSolidBrush(RGB(1, 2, 3)));
        const auto handle = reinterpret_cast<std::uintptr_t>(brushes.back().Get());
        highest = std::max(highest, static_cast<std::int64_t>(handle & 0xFFFF));
    }
    return highest - kBrushes;
}

/// The driver assigns names from 1 without gaps and reuses freed ones.
std::int64_t CountGlNames() {
    constexpr GLuint kHighestName = 20000;
    using IsName = GLboolean(APIENTRY*)(GLuint);
    std::vector<IsName> kinds = {glIsTexture};
    for (const char* entry :
         {"glIsFramebuffer", "glIsBuffer", "glIsVertexArray", "glIsProgram", "glIsShader", "glIsSampler"}) {
        kinds.push_back(reinterpret_cast<IsName>(reinterpret_cast<void (*)()>(wglGetProcAddress(entry))));
    }
    std::int64_t count = 0;
    for (const IsName isName : kinds) {
        for (GLuint name = 1; name <= kHighestName; ++name) {
            count += isName(name) ? 1 : 0;
        }
    }
    return count;
}

/// Runs `work` with the instance's context current.
template <class Work>
void WithContextOf(ModuleRun& run, Work work) {
    const WindowDc dc(run.Session().Window().Handle());
    ASSERT_TRUE(wglMakeCurrent(dc.Get(), run.Session().Instance()->renderer->context));
    work();
    wglMakeCurrent(nullptr, nullptr);
}

/// Avoids the system's own counters, which are always 0 under Wine.
ProcessUsage MeasureUsage(ModuleRun* run = nullptr) {
    GdiFlush();
    ProcessUsage usage = {static_cast<std::int64_t>(WorkingSetBytes() / 1024),
                          static_cast<std::int64_t>(OpenHandles()), CountGdiObjects(), 0};
    if (run) {
        WithContextOf(*run, [&] { usage[kGlNames] = CountGlNames(); });
    }
    return usage;
}

/// A buffer with feedback and mipmaps, and the keyboard.
std::string Document() {
    return DocumentBuilder()
        .Buffer('A', MainImage("c = texture(iChannel0, p / iResolution.xy) * 0.5 + texture(iChannel1, p).x;"),
                {{.filter = "mipmap"}, {.channel = 1, .ctype = "keyboard"}})
        .Image(MainImage("c = texture(iChannel0, p / iResolution.xy) + 0.5;"), {{}})
        .Json();
}

/// Normal fluctuation between two measurements.
constexpr ProcessUsage kTolerance = {8 * 1024, 4, 16, 0};

template <class Object>
Microsoft::WRL::ComPtr<Object> TryCreate(const CLSID& id) {
    Microsoft::WRL::ComPtr<Object> object;
    CoCreateInstance(id, nullptr, CLSCTX_ALL, IID_PPV_ARGS(&object));
    return object;
}

void SearchForCamera() {
    const ComApartment apartment;
    const auto graph = TryCreate<IUnknown>(CLSID_FilterGraph);
    const auto renderer = TryCreate<IUnknown>(CLSID_VideoMixingRenderer);
    const auto devices = TryCreate<ICreateDevEnum>(CLSID_SystemDeviceEnum);
    Microsoft::WRL::ComPtr<IEnumMoniker> cameras;
    if (devices) {
        devices->CreateClassEnumerator(CLSID_VideoInputDeviceCategory, &cameras, 0);
    }
}

/// Some systems leak handles with every object they create or fail to create. Returns how many they leak per
/// search, without any code of ours.
std::int64_t SystemHandlesLeakedPer(void (*search)()) {
    constexpr int kSearches = 50;
    search();  // loads what later ones share
    const std::size_t before = OpenHandles();
    for (int i = 0; i < kSearches; ++i) {
        search();
    }
    // Rounded, because unrelated handles come and go in the meantime.
    return (static_cast<std::int64_t>(OpenHandles() - before) + kSearches / 2) / kSearches;
}

/// Resource usage at the start of a measurement.
struct Start {
    ProcessUsage usage = {};
    std::chrono::steady_clock::time_point time = {};
};

/// `instances` have been built one after the other; `cameraSearches` is how often the module searched for a
/// camera.
void ExpectFlat(const Start& start, const ProcessUsage& now, int instances = 0, int cameraSearches = 0) {
    const auto time = std::chrono::steady_clock::now() - start.time;
    // Without a sound device, the module searches for one with each instance and then every two seconds.
    const std::int64_t searches = time / std::chrono::seconds(2) + 1 + instances;
    ProcessUsage allowed = kTolerance;
    allowed[kHandles] +=
        searches * SystemHandlesLeakedPer([] { TryCreate<IUnknown>(__uuidof(MMDeviceEnumerator)); }) +
        cameraSearches * SystemHandlesLeakedPer(SearchForCamera);
    for (const Resource resource : {kKilobytes, kHandles, kGdiObjects, kGlNames}) {
        const std::int64_t grown = now[resource] - start.usage[resource];
        EXPECT_LE(grown, allowed[resource]) << kResourceNames[resource];
    }
}

TEST(Soak, DetectsPlantedLeaks) {
    ModuleRun run(Document());
    ASSERT_EQ(run.Frames(3), FrameResult::Drawn) << run.Words();
    std::vector<char> memory;
    const std::function<void(int)> leaks[] = {
        [&memory](int i) { memory.resize(static_cast<std::size_t>(i + 1) << 20, 'x'); },
        [](int) { CreateEventW(nullptr, TRUE, FALSE, nullptr); },
        [](int i) { CreateSolidBrush(RGB(i, 0, 0)); },
        [&run](int) {
            GLuint name = 0;
            WithContextOf(run, [&] { glGenTextures(1, &name), glBindTexture(GL_TEXTURE_2D, name); });
        },
    };
    for (const Resource resource : {kKilobytes, kHandles, kGdiObjects, kGlNames}) {
        const ProcessUsage before = MeasureUsage(&run);
        for (int i = 0; i < 20; ++i) {
            leaks[resource](i);
        }
        EXPECT_GT(MeasureUsage(&run)[resource] - before[resource], kTolerance[resource])
            << kResourceNames[resource];
    }
}

/// Measures `loads` calls after a few for warm-up.
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
    ExpectFlat(start, MeasureUsage(), loads, cameraSearches);
}

TEST(Soak, FiveHundredLoadsDoNotLeak) {
    const std::string document = Document();
    const std::string broken = DocumentBuilder().Image("no GLSL at all").Json();
    ExpectFlatOver(500, [&](int number) {
        const bool fails = number % 5 == 4;
        ModuleRun run(fails ? broken : document);
        ASSERT_EQ(run.Frame(), fails ? FrameResult::Failed : FrameResult::Drawn) << run.Words();
    });
}

/// The pictures of one load occupy 800 KB.
TEST(Soak, TwoHundredLoadsOfEveryInputKindDoNotLeak) {
    // Media paths in the examples are relative to their folder.
    std::filesystem::current_path(PIXELFORGE_SOURCE_DIR "/examples");
    std::ifstream file("kinds.json", std::ios::binary);
    const std::string document{std::istreambuf_iterator<char>(file), {}};
    const auto load = [&document](int) {
        ModuleRun run(document);
        ASSERT_EQ(run.Frame(), FrameResult::Drawn) << run.Words();
        ASSERT_EQ(run.Words().find("stays empty"), std::string::npos) << run.Words();
    };
    // A webcam channel searches for the camera at each load.
    ExpectFlatOver(200, load, 200);
}

/// Resizes window, bitmap and draw record; the module follows the window.
std::unique_ptr<preview::HostSurface> Resize(ModuleRun& run, std::int32_t width, std::int32_t height) {
    auto surface = std::make_unique<preview::HostSurface>(width, height);
    DrawContext& context = run.Session().Context();
    run.Session().Window().SetClientSize(width, height);
    context.width = width;
    context.height = height;
    context.bitmap = surface->Bitmap();
    return surface;
}

TEST(Soak, TenThousandFramesWithResizesDoNotLeak) {
    constexpr int kFrames = 10000;
    constexpr int kFramesPerSize = 100;
    constexpr int kWarmUp = 1000;
    ModuleRun run(Document());
    std::unique_ptr<preview::HostSurface> surface;
    Start start;
    for (int frame = 0; frame < kFrames; ++frame) {
        if (frame > 0 && frame % kFramesPerSize == 0) {
            const bool larger = frame / kFramesPerSize % 2 == 1;
            surface = Resize(run, larger ? 40 : 32, larger ? 30 : 24);
        }
        ASSERT_EQ(run.Frame(), FrameResult::Drawn) << "frame " << frame << "\n" << run.Words();
        if (frame == kWarmUp) {
            start = {MeasureUsage(&run), std::chrono::steady_clock::now()};
        }
    }
    ExpectFlat(start, MeasureUsage(&run));
}

}  // namespace
}  // namespace pixelforge::test
