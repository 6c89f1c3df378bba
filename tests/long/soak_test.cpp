// Hundreds of loads and thousands of frames in one process must not leak.
#include <gtest/gtest.h>
#include <windows.h>

#include <objbase.h>
#include <strmif.h>
#include <uuids.h>
#include <wrl/client.h>

#include <filesystem>
#include <memory>

#include "base/win_handles.h"
#include "tests/support/module_run.h"
#include "tests/support/process_census.h"
#include "tests/support/temp_file.h"

namespace pixelforge::test {
namespace {

using Microsoft::WRL::ComPtr;

template <class Object>
ComPtr<Object> Create(const CLSID& id) {
    ComPtr<Object> object;
    EXPECT_EQ(CoCreateInstance(id, nullptr, CLSCTX_ALL, IID_PPV_ARGS(&object)), S_OK);
    return object;
}

/// Some systems leak handles with each COM object created by class identifier, even without our code.
std::size_t HandlesLeakedByCameras(int cameras) {
    const std::size_t before = OpenHandles();
    for (int i = 0; i < cameras; ++i) {
        const ComApartment apartment;
        const auto graph = Create<IUnknown>(CLSID_FilterGraph);
        const auto renderer = Create<IUnknown>(CLSID_VideoMixingRenderer);
        ComPtr<IEnumMoniker> devices;
        Create<ICreateDevEnum>(CLSID_SystemDeviceEnum)
            ->CreateClassEnumerator(CLSID_VideoInputDeviceCategory, &devices, 0);
        ComPtr<IMoniker> device;
        ComPtr<IBaseFilter> camera;
        EXPECT_EQ(devices->Next(1, &device, nullptr), S_OK);
        EXPECT_EQ(device->BindToObject(nullptr, nullptr, IID_PPV_ARGS(&camera)), S_OK);
    }
    return OpenHandles() - before;
}

/// Measures the baseline after a tenth of the rounds; the others open `cameras` doubles of a camera.
template <class Round>
void ExpectFlatOver(int rounds, Round round, int cameras = 0) {
    std::size_t handles = 0;
    std::size_t bytes = 0;
    for (int i = 0; i < rounds; ++i) {
        if (i == rounds / 10) {
            handles = OpenHandles();
            bytes = WorkingSetBytes();
        }
        ASSERT_NO_FATAL_FAILURE(round(i)) << "round " << i;
    }
    const std::size_t last = OpenHandles();
    EXPECT_LE(WorkingSetBytes(), bytes + (8U << 20));
    EXPECT_LE(last, handles + 4 + HandlesLeakedByCameras(cameras));
}

/// The pictures of one load occupy 800 KB. Four of five loads open the camera.
TEST(Soak, FiveHundredLoadsOfEveryInputKindDoNotLeak) {
    // Media paths in the examples are relative to their folder.
    std::filesystem::current_path(PIXELFORGE_SOURCE_DIR "/examples");
    const auto load = [document = ContentOf("kinds.json")](int number) {
        const bool fails = number % 5 == 4;
        ModuleRun run(fails ? ImageDocument("no GLSL at all") : document);
        ASSERT_EQ(run.Frame(), fails ? FrameResult::Failed : FrameResult::Drawn) << run.Words();
        ASSERT_EQ(run.Words().find("stays empty"), std::string::npos) << run.Words();
    };
    ExpectFlatOver(500, load, 450 * 4 / 5);
}

/// The module follows the window. A render target that is not released occupies 400 KB or more.
TEST(Soak, TenThousandFramesWithResizesDoNotLeak) {
    const std::string white = MainImage("c = vec4(1);");
    ModuleRun run(DocumentBuilder().Buffer('A', white, {{.filter = "mipmap"}}).Image(white, {{}}).Json());
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
