// Hundreds of loads and thousands of frames in one process must not leak.
#include <gtest/gtest.h>
#include <windows.h>

#include <mmdeviceapi.h>
#include <objbase.h>
#include <strmif.h>
#include <uuids.h>
#include <wrl/client.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

#include "base/win_handles.h"
#include "tests/end_to_end/module_run.h"
#include "tests/support/process_census.h"

namespace pixelforge::test {
namespace {

template <class Object>
Microsoft::WRL::ComPtr<Object> TryCreate(const CLSID& id) {
    Microsoft::WRL::ComPtr<Object> object;
    CoCreateInstance(id, nullptr, CLSCTX_ALL, IID_PPV_ARGS(&object));
    return object;
}

void SearchForSound() {
    TryCreate<IUnknown>(__uuidof(MMDeviceEnumerator));
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

/// Measures after a tenth of the rounds. `instances` are built in them, and `cameraSearches` is how often the
/// module searches for a camera.
template <class Round>
void ExpectFlatOver(int rounds, Round round, int instances = 0, int cameraSearches = 0) {
    using Clock = std::chrono::steady_clock;
    std::size_t handles = 0;
    std::size_t bytes = 0;
    Clock::time_point start;
    for (int i = 0; i < rounds; ++i) {
        if (i == rounds / 10) {
            handles = OpenHandles();
            bytes = WorkingSetBytes();
            start = Clock::now();
        }
        ASSERT_NO_FATAL_FAILURE(round(i)) << "round " << i;
    }
    const auto grown = static_cast<std::int64_t>(OpenHandles() - handles);
    EXPECT_LE(WorkingSetBytes(), bytes + (8U << 20));
    // Without a sound device, the module searches for one with each instance and then every two seconds.
    const std::int64_t searches = (Clock::now() - start) / std::chrono::seconds(2) + 1 + instances;
    EXPECT_LE(grown, 4 + searches * SystemHandlesLeakedPer(SearchForSound) +
                         cameraSearches * SystemHandlesLeakedPer(SearchForCamera));
}

/// A buffer with feedback and mipmaps, and the keyboard.
std::string Document() {
    return DocumentBuilder()
        .Buffer('A', MainImage("c = texture(iChannel0, p / iResolution.xy) * 0.5 + texture(iChannel1, p).x;"),
                {{.filter = "mipmap"}, {.channel = 1, .ctype = "keyboard"}})
        .Image(MainImage("c = texture(iChannel0, p / iResolution.xy) + 0.5;"), {{}})
        .Json();
}

TEST(Soak, FiveHundredLoadsDoNotLeak) {
    const auto load = [document = Document()](int number) {
        const bool fails = number % 5 == 4;
        ModuleRun run(fails ? DocumentBuilder().Image("no GLSL at all").Json() : document);
        ASSERT_EQ(run.Frame(), fails ? FrameResult::Failed : FrameResult::Drawn) << run.Words();
    };
    ExpectFlatOver(500, load, 500);
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
    ExpectFlatOver(200, load, 200, 200);
}

/// The module follows the window. A render target that is not released occupies 400 KB or more.
TEST(Soak, TenThousandFramesWithResizesDoNotLeak) {
    ModuleRun run(Document());
    std::unique_ptr<preview::HostSurface> surface;
    ExpectFlatOver(10000, [&](int frame) {
        if (frame % 100 == 99) {
            const std::int32_t side = frame % 200 == 99 ? 200 : 160;
            surface = std::make_unique<preview::HostSurface>(side, side);
            run.Session().Window().SetClientSize(side, side);
            DrawContext& context = run.Session().Context();
            context.width = context.height = side;
            context.bitmap = surface->Bitmap();
        }
        ASSERT_EQ(run.Frame(), FrameResult::Drawn) << run.Words();
    });
}

}  // namespace
}  // namespace pixelforge::test
