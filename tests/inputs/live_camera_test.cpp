// The camera picture in a webcam channel, every way a camera can fail, and leaks of loads with all inputs.
#include <thread>

#include "base/win_handles.h"
#include "inputs/webcam_capture.h"
#include "inputs/webcam_graph.h"
#include "preview/documents/opened_shader.h"
#include "preview/host/file_paths.h"
#include "tests/inputs/live_run.h"
#include "tests/support/process_census.h"
#include "tests/support/temp_file.h"

namespace pixelforge::test {
namespace {

/// Draws the webcam channel, except for the first column, which shows the channel's resolution.
const char* const kBody =
    "c = texture(iChannel0, p / iResolution.xy); if (p.x < 1.0) c.rgb = iChannelResolution[0] / 2560.0;";

using Colours = std::vector<std::uint32_t>;

const Colours kFullPicture = {0x0000FF, 0xFFFFFF, 0xFF0000, 0x00FF00};
const Colours kQuarter = {0x00FF00, 0, 0, 0};

class LiveCamera : public DeviceTest {
protected:
    LiveCamera() {
        WaitForSingleObject(turn_.Get(), INFINITE);
        kSound.Set("gone=1");
    }
    ~LiveCamera() override { ReleaseMutex(turn_.Get()); }

    /// The colours at the centres of the four quarters: lower left, lower right, upper left, upper right.
    void ExpectPictures(const std::vector<std::string>& settings, const Colours& quarters) {
        for (const std::string& each : settings) {
            SCOPED_TRACE(each);
            kCamera.Set("pattern=quadrants;" + each);
            LiveRun run("webcam", kBody);
            EXPECT_EQ(run.Frame(), FrameResult::Drawn);
            const auto at = [&](int x, int y) { return run.Pixel(x * kWidth / 4, y * kHeight / 4); };
            EXPECT_EQ((Colours{at(1, 1), at(3, 1), at(1, 3), at(3, 3)}), quarters);
            EXPECT_EQ(run.Pixel(0, 0), 0x804800U) << "iChannelResolution is not 1280 x 720";
        }
    }

    /// One test at a time: all programs share the system's device list.
    const UniqueKernelHandle turn_{CreateMutexW(nullptr, FALSE, L"Pixelforge camera double")};
    const preview::ModuleLibrary loaded_;  ///< keeps the module's state between instances
};

TEST_F(LiveCamera, ShowsFirst640x480PixelsOfEveryFormat) {
    ExpectPictures({"image=24", "topdown=1", "image=24;topdown=1", "formats=1280x480,640x960,640x480"},
                   kFullPicture);
    // Twice the size: its lower left quarter fills the picture. Half the size: it fills a quarter.
    ExpectPictures({"formats=1280x960"}, {0x0000FF, 0x0000FF, 0x0000FF, 0x0000FF});
    ExpectPictures({"formats=320x240"}, kQuarter);
}

TEST_F(LiveCamera, StaysOffIfTheShaderDoesNotCompile) {
    const long calls = kCamera.Count("any");
    LiveRun run("webcam", "c = no_such_colour;");
    EXPECT_EQ(run.Frame(), FrameResult::Failed);
    EXPECT_EQ(kCamera.Count("any"), calls);
}

TEST_F(LiveCamera, FaultsNeitherStopFramesNorLeak) {
    // The last block is one byte short of the header and 640 x 480 x 4.
    ExpectPictures({"device=none", "device=nameless", "fail=renderer", "fail=windowless", "fail=config",
                    "fail=position", "fail=camera", "fail=enumpins", "fail=pin", "fail=connect", "fail=run",
                    "fail=image", "null=format", "null=image", "block=0", "block=39", "block=1228839"},
                   {0, 0, 0, 0});
    ExpectPictures({"fail=enumtypes;formats=640x480", "fail=streamconfig;formats=640x480",
                    "fail=setformat;formats=640x480,320x240", "fail=getformat", "null=type",
                    "formattype=other;formats=640x480", "block=1228840"},
                   kFullPicture);
    // Formats that are not read are not chosen, either.
    ExpectPictures({"formattype=other", "formatbytes=87"}, kQuarter);
}

TEST_F(LiveCamera, TakesASnapshotForTheFirstAndEverySixteenthFrame) {
    kCamera.Set("");
    for (int load = 0; load < 2; ++load) {
        const long before = kCamera.Count("image");
        LiveRun run("webcam", kBody);
        for (int frame = 0; frame < 20; ++frame) {
            EXPECT_EQ(run.Frame(), FrameResult::Drawn);
            LiveRun("webcam", kBody);  // its end leaves the camera open
            EXPECT_EQ(kCamera.Count("image") - before, frame / 16 + 1) << load << ", frame " << frame;
        }
    }
}

/// What the census of the module's calls misses. The pictures of one load occupy 800 KB.
TEST_F(LiveCamera, LoadsOfEveryInputKindLeakNothing) {
    kSound.Set("");
    kCamera.Set("");
    const preview::WorkingFolder examples(L"" PIXELFORGE_SOURCE_DIR "/examples/kinds.json");
    const auto load = [this, document = ContentOf("kinds.json")](int times) {
        for (; times > 0; --times) {
            ModuleRun run(document, {}, loaded_);
            EXPECT_EQ(run.Frame(), FrameResult::Drawn);
            EXPECT_EQ(run.Words(), "");
        }
    };
    load(20);
    const std::size_t handles = OpenHandles();
    const std::size_t bytes = WorkingSetBytes();
    load(60);
    const std::size_t last = OpenHandles();
    EXPECT_LE(WorkingSetBytes(), bytes + (1U << 20));
    // Some systems leak a handle with each COM object created by class identifier; a camera needs four.
    for (int i = 0; i < 4 * 60; ++i) {
        const ComApartment apartment;
        Microsoft::WRL::ComPtr<IUnknown> graph;
        EXPECT_EQ(CoCreateInstance(CLSID_FilterGraph, nullptr, CLSCTX_ALL, IID_PPV_ARGS(&graph)), S_OK);
    }
    EXPECT_LE(last - handles, OpenHandles() - last + 4);
}

/// The camera's double updates the device list when the module creates its renderer.
TEST_F(LiveCamera, AbsentDevicesAreWarnedOf) {
    for (const std::string sound : {"", "gone=1", "fail=create"}) {
        for (const std::string camera : {"", "device=none"}) {
            kSound.Set("gone=1");
            kCamera.Set(camera);
            LiveRun("webcam", "c = vec4(1);").Frame();
            kSound.Set(sound);
            std::string ends;
            const auto kinds =
                preview::ReadShaderSource({"", L"" PIXELFORGE_SOURCE_DIR "/examples/kinds.json"}, {});
            for (const std::string& warning : kinds.warnings) {
                ends += warning.substr(warning.rfind(": "));
            }
            EXPECT_EQ(ends, (sound.empty() ? "" : ": there is no sound output device") +
                                std::string(camera.empty() ? "" : ": there is no camera"));
        }
    }
}

/// False in the apartment that all threads without one share.
bool IsInOwnApartment() {
    APTTYPE type = APTTYPE_MTA;
    APTTYPEQUALIFIER qualifier = {};
    return SUCCEEDED(CoGetApartmentType(&type, &qualifier)) && type != APTTYPE_MTA;
}

TEST_F(LiveCamera, LeavesItsOwnApartmentAndNoOther) {
    kCamera.Set("");
    std::jthread([] {  // the system may have put the main thread into one
        EXPECT_TRUE(LoadWebcam());
        EXPECT_TRUE(IsInOwnApartment());
        UnloadWebcam();
        EXPECT_FALSE(IsInOwnApartment());
        const ComApartment apartment;
        std::thread(LoadWebcam).join();
        UnloadWebcam();
        EXPECT_TRUE(IsInOwnApartment());
    });
}

TEST_F(LiveCamera, IsNotClosedWhileItOpens) {
    kCamera.Set("hang=camera");
    const long before = kCamera.Count("camera");
    std::thread opener(LoadWebcam);
    EXPECT_TRUE(WaitUntil([&] { return kCamera.Count("camera") > before; }));
    std::thread closer(UnloadWebcam);
    Sleep(100);  // the closer waits
    kCamera.Resume();
    opener.join();
    closer.join();
    UnloadWebcam();
}

}  // namespace
}  // namespace pixelforge::test
