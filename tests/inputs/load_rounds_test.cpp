// Loading, using and unloading the module many times in one process, also in the middle of its work.
#include <gtest/gtest.h>

#include <windows.h>

#include <mmdeviceapi.h>
#include <wrl/client.h>

#include <algorithm>
#include <vector>

#include "base/text.h"
#include "base/win_handles.h"
#include "preview/host/staged_shader.h"
#include "tests/inputs/live_run.h"
#include "tests/support/load_round.h"
#include "tests/support/process_census.h"

namespace pixelforge::test {
namespace {

constexpr const char* kWhite = "c = vec4(1);";

/// Loads and unloads without an instance, as a host does that looks through its modules, and then with a
/// frame.
void Round(DWORD stay) {
    const long calls = SoundCalls();
    EXPECT_TRUE(LoadRoundMilliseconds(stay)) << "cannot load and unload the module";
    EXPECT_EQ(SoundCalls(), calls) << "the sound system was used without an instance";
    EXPECT_EQ(LiveRun("music", kWhite, 32, 24).Frame(), FrameResult::Drawn);
}

/// One of the frames fails, because an exception must not leak either.
void RoundOfTwoInstances() {
    LiveRun drawn("music", kWhite, 32, 24);
    LiveRun failed("music", "c = no_such_colour;", 32, 24);
    EXPECT_EQ(drawn.Frame(), FrameResult::Drawn);
    EXPECT_EQ(failed.Frame(), FrameResult::Failed);
}

/// Threads may briefly outlive the module's unloading.
void WaitForThreads(std::size_t count) {
    for (int wait = 0; wait < 100 && ThreadIds().size() > count; ++wait) {
        Sleep(20);
    }
}

TEST(LoadRounds, TwoHundredRoundsLeakNoThreadsHandlesOrMemory) {
    SetSound("signal=sine;hertz=1000");
    const auto eightRounds = [] {
        std::ranges::for_each(kStays, Round);
        RoundOfTwoInstances();
    };
    const long objects = SoundObjects();
    eightRounds();
    Sleep(500);
    const std::size_t handles = OpenHandles();
    const std::size_t threads = ThreadIds().size();
    const std::size_t bytes = WorkingSetBytes();
    {
        const UniqueKernelHandle planted(CreateEventW(nullptr, FALSE, FALSE, nullptr));
        ASSERT_EQ(OpenHandles(), handles + 1) << "OpenHandles missed a new handle";
    }
    for (int i = 0; i < 25; ++i) {
        eightRounds();
    }
    WaitForThreads(threads);
    EXPECT_LE(ThreadIds().size(), threads);
    EXPECT_LE(OpenHandles(), handles + 5);
    EXPECT_LE(WorkingSetBytes(), bytes + (4U << 20));
    EXPECT_EQ(SoundObjects(), objects);
}

TEST(LoadRounds, AProcessWithoutFreeSlotsLoadsTheModule) {
    std::vector<DWORD> slots;
    for (DWORD slot = 0; (slot = FlsAlloc(nullptr)) != FLS_OUT_OF_INDEXES;) {
        slots.push_back(slot);
    }
    EXPECT_EQ(LiveRun("music", "c = no_such_colour;", 32, 24).Frame(), FrameResult::Failed);
    std::ranges::for_each(slots, FlsFree);
}

/// Unloads the module without destroying its instance.
void UnloadLiveInstance(
    preview::HostWindow& window, bool draws, DWORD stay, void (*beforeUnload)(HWND) = [](HWND) {}) {
    const preview::ModuleLibrary library;
    preview::ModuleFunctions functions = library.Functions();
    functions.cleanUp = functions.destroyControlStructure = [](ModuleInstance*) { return 1; };
    const auto drop =
        preview::StagedShader::OfDocument(BytesOf(DocumentBuilder().Image(MainImage(kWhite)).Json()));
    RunOptions options;
    options.window = &window;
    options.playlistName = drop.PlaylistName();
    preview::HostSession session(functions, options);
    session.Open();
    if (draws) {
        EXPECT_EQ(session.DrawFrame(), FrameResult::Drawn);
    }
    Sleep(stay);
    beforeUnload(window.Handle());
}

TEST(LoadRounds, UnloadingALiveInstanceHarmsNeitherWindowNorSound) {
    const struct {
        const char* sound;
        std::vector<DWORD> stays;
    } rows[] = {{"slow=150", {0, 75, 140, 150, 160, 300}},
                {"slow=2000", {100}},           // an opening that outlasts the time for stopping a thread
                {"slow=1000;gone=1", {3500}}};  // the second attempt
    for (const auto& [sound, stays] : rows) {
        SetSound(sound);
        for (std::size_t i = 0; i < 2 * stays.size(); ++i) {
            const long objects = SoundObjects();
            const auto isGone = [&] {
                return !GetModuleHandleW(L"Pixelforge.dll") && SoundObjects() == objects;
            };
            preview::HostWindow window(32, 24);
            const LONG_PTR procedure = GetWindowLongPtrW(window.Handle(), GWLP_WNDPROC);
            UnloadLiveInstance(window, i % 2 == 1, stays[i / 2]);
            for (int wait = 0; wait < 150 && !isGone(); ++wait) {
                Sleep(20);
            }
            EXPECT_TRUE(isGone()) << "the capture thread was terminated: " << sound << ", row " << i;
            EXPECT_EQ(GetWindowLongPtrW(window.Handle(), GWLP_WNDPROC), procedure);
            SendMessageW(window.Handle(), WM_KEYDOWN, 'A', 0);
        }
    }
    const ComApartment apartment;
    Microsoft::WRL::ComPtr<IMMDeviceEnumerator> enumerator;
    EXPECT_EQ(CoCreateInstance(__uuidof(MMDeviceEnumerator), nullptr, CLSCTX_ALL,
                               IID_PPV_ARGS(enumerator.GetAddressOf())),
              S_OK);
}

TEST(LoadRounds, UnloadTerminatesAHangingThread) {
    SetSound("hang=nextpacket");
    const std::size_t threads = ThreadIds().size();
    LiveRun("music", kWhite, 32, 24).DrawFor(400);
    WaitForThreads(threads);
    EXPECT_LE(ThreadIds().size(), threads);
    SetSound("signal=sine;hertz=1000");
    Round(400);
}

/// Here the module stays loaded, therefore these are the last tests.
TEST(PinnedModule, AnotherSubclassOnTopStillCallsIt) {
    static WNDPROC below = nullptr;
    static constexpr WNDPROC above = [](HWND window, UINT message, WPARAM w, LPARAM l) -> LRESULT {
        return CallWindowProcW(below, window, message, w, l);
    };
    preview::HostWindow window(32, 24);
    UnloadLiveInstance(window, true, 300, [](HWND covered) {
        below = reinterpret_cast<WNDPROC>(
            SetWindowLongPtrW(covered, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(above)));
        SendMessageW(covered, WM_KEYUP, 'A', 0);
    });
    EXPECT_TRUE(GetModuleHandleW(L"Pixelforge.dll"));
    SendMessageW(window.Handle(), WM_KEYDOWN, 'A', 0);
}

TEST(PinnedModule, TheWindowsProcedureUnloadsItDuringACall) {
    static std::optional<preview::ModuleLibrary> library;
    static std::optional<ModuleRun> run;
    const WNDPROC unload = [](HWND window, UINT message, WPARAM w, LPARAM l) -> LRESULT {
        if (message == WM_APP) {
            run.reset();
            library.reset();
        }
        return DefWindowProcW(window, message, w, l);
    };
    preview::HostWindow window(32, 24, {.procedure = unload});
    RunOptions options;
    options.window = &window;
    library.emplace();
    run.emplace(DocumentBuilder().Image(MainImage(kWhite)).Json(), options, *library);
    EXPECT_EQ(run->Frame(), FrameResult::Drawn);
    SendMessageW(window.Handle(), WM_APP, 0, 0);
    EXPECT_TRUE(GetModuleHandleW(L"Pixelforge.dll"));
}

}  // namespace
}  // namespace pixelforge::test
