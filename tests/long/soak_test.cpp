// Hundreds of loads in one process must not leak what the census of the module's calls misses.
#include <gtest/gtest.h>
#include <windows.h>

#include <objbase.h>
#include <strmif.h>
#include <uuids.h>
#include <wrl/client.h>

#include <filesystem>

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

/// The pictures of one load occupy 800 KB. Four of five loads open the camera.
TEST(Soak, FiveHundredLoadsOfEveryInputKindDoNotLeak) {
    // Media paths in the examples are relative to their folder.
    std::filesystem::current_path(PIXELFORGE_SOURCE_DIR "/examples");
    const std::string document = ContentOf("kinds.json");
    std::size_t handles = 0;
    std::size_t bytes = 0;
    for (int load = 0; load < 500; ++load) {
        if (load == 50) {
            handles = OpenHandles();
            bytes = WorkingSetBytes();
        }
        const bool fails = load % 5 == 4;
        ModuleRun run(fails ? ImageDocument("no GLSL at all") : document);
        ASSERT_EQ(run.Frame(), fails ? FrameResult::Failed : FrameResult::Drawn) << run.Words();
        ASSERT_EQ(run.Words().find("stays empty"), std::string::npos) << run.Words();
    }
    const std::size_t last = OpenHandles();
    EXPECT_LE(WorkingSetBytes(), bytes + (8U << 20));
    EXPECT_LE(last, handles + 4 + HandlesLeakedByCameras(450 * 4 / 5));
}

}  // namespace
}  // namespace pixelforge::test
