// Loading, using and unloading the module many times in one process, also in the middle of its work.
#include <algorithm>
#include <cstdlib>
#include <optional>
#include <vector>

#include "tests/inputs/live_run.h"
#include "tests/support/process_census.h"

namespace pixelforge::test {
namespace {

using LoadRounds = DeviceTest;

constexpr const char* kWhite = "c = vec4(1);";

/// Loads and unloads without an instance, as a host does that lists its modules, and then with a frame.
void Round(DWORD stay) {
    const long calls = kSound.Count("any");
    const HMODULE module = LoadLibraryW(L"Pixelforge.dll");
    Sleep(stay);
    EXPECT_TRUE(module && FreeLibrary(module));
    EXPECT_EQ(kSound.Count("any"), calls) << "the sound system was used without an instance";
    EXPECT_EQ(LiveRun("music", kWhite).Frame(), FrameResult::Drawn);
}

TEST_F(LoadRounds, TwoHundredRoundsLeakNoThreadsHandlesOrMemory) {
    kSound.Set("signal=sine;hertz=1000");
    const auto eightRounds = [] {
        // Before and after the capture thread's start.
        std::ranges::for_each(std::vector<DWORD>{0, 3, 120, 0, 130, 160, 1, 200}, Round);
        const LiveRun drawn("music", kWhite);
        // An exception must not leak either.
        EXPECT_EQ(LiveRun("music", "c = no_such_colour;").Frame(), FrameResult::Failed);
    };
    eightRounds();
    Sleep(500);
    const std::size_t handles = OpenHandles();
    const std::size_t threads = ThreadIds().size();
    const std::size_t bytes = WorkingSetBytes();
    for (int i = 0; i < 25; ++i) {
        eightRounds();
    }
    EXPECT_TRUE(WaitUntil([&] { return ThreadIds().size() <= threads; })) << "threads leaked";
    EXPECT_LE(OpenHandles(), handles + 5);
    EXPECT_LE(WorkingSetBytes(), bytes + (4U << 20));
}

TEST_F(LoadRounds, AProcessWithoutFreeSlotsLoadsTheModule) {
    std::vector<DWORD> slots;
    for (DWORD slot = 0; (slot = FlsAlloc(nullptr)) != FLS_OUT_OF_INDEXES;) {
        slots.push_back(slot);
    }
    EXPECT_EQ(LiveRun("music", "c = no_such_colour;").Frame(), FrameResult::Failed);
    std::ranges::for_each(slots, FlsFree);
}

/// Unloads the module without destroying its instance.
void UnloadLiveInstance(
    preview::HostWindow& window, bool draws, DWORD stay, void (*beforeUnload)(HWND) = [](HWND) {}) {
    LiveRun run("music", kWhite, &window);
    auto& functions = const_cast<preview::ModuleFunctions&>(run.Functions());
    functions.cleanUp = functions.destroyControlStructure = [](ModuleInstance*) { return 1; };
    if (draws) {
        EXPECT_EQ(run.Frame(), FrameResult::Drawn);
    }
    Sleep(stay);
    beforeUnload(window.Handle());
}

TEST_F(LoadRounds, UnloadingALiveInstanceHarmsNeitherWindowNorSound) {
    const std::pair<const char*, std::vector<DWORD>> rows[] = {
        {"slow=150", {0, 75, 140, 150, 160, 300}},
        {"slow=2000", {100}},           // an opening that outlasts the time for stopping a thread
        {"slow=1000;gone=1", {3500}}};  // the second attempt
    for (const auto& [sound, stays] : rows) {
        kSound.Set(sound);
        for (std::size_t i = 0; i < 2 * stays.size(); ++i) {
            preview::HostWindow window(32, 24);
            const LONG_PTR procedure = GetWindowLongPtrW(window.Handle(), GWLP_WNDPROC);
            UnloadLiveInstance(window, i % 2 == 1, stays[i / 2]);
            EXPECT_TRUE(WaitUntil([] { return !GetModuleHandleW(L"Pixelforge.dll"); }))
                << sound << ", row " << i;
            EXPECT_TRUE(WaitUntil([&] { return kSound.Count("objects") == counts[0]; }))
                << sound << ", row " << i << ": the capture thread was terminated";
            EXPECT_EQ(GetWindowLongPtrW(window.Handle(), GWLP_WNDPROC), procedure);
            SendMessageW(window.Handle(), WM_KEYDOWN, 'A', 0);
        }
    }
}

/// What the capture thread does when an instance ends and the module is unloaded.
TEST_F(LoadRounds, AHangingReadIsTerminatedAndALongClosingEndsByItself) {
    const std::size_t threads = ThreadIds().size();
    for (const char* hang : {"stop", "nextpacket"}) {
        kSound.Set(std::string("hang=") + hang);
        const long calls = kSound.Count("nextpacket");
        {
            LiveRun run("music", kWhite);
            EXPECT_TRUE(WaitUntil([&] { return kSound.Count("nextpacket") > calls; }));
        }
        if (std::string_view(hang) == "stop") {
            kSound.Resume();
            EXPECT_TRUE(WaitUntil([&] { return kSound.Count("objects") == counts[0]; }));
        }
        EXPECT_TRUE(WaitUntil([] { return !GetModuleHandleW(L"Pixelforge.dll"); }));
        EXPECT_TRUE(WaitUntil([&] { return ThreadIds().size() <= threads; }));
    }
    counts = Counts();  // the terminated thread's objects are lost
    kSound.Set("signal=sine;hertz=1000");
    Round(400);
}

void ReportWhetherPinnedAndExit() {
    const bool pinned = GetModuleHandleW(L"Pixelforge.dll") && !testing::Test::HasFailure();
    std::fputs(pinned ? "still loaded" : "unloaded, or a frame failed", stderr);
    std::exit(0);
}

void AnotherSubclassOnTopStillCallsIt() {
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
    SendMessageW(window.Handle(), WM_KEYDOWN, 'A', 0);
    ReportWhetherPinnedAndExit();
}

void TheWindowsProcedureEndsItsInstanceDuringACall() {
    static std::optional<LiveRun> run;
    const WNDPROC end = [](HWND window, UINT message, WPARAM w, LPARAM l) -> LRESULT {
        if (message == WM_APP) {
            run->Session().Close();
        }
        return DefWindowProcW(window, message, w, l);
    };
    preview::HostWindow window(32, 24, {.procedure = end});
    run.emplace("music", kWhite, &window);
    EXPECT_EQ(run->Frame(), FrameResult::Drawn);
    SendMessageW(window.Handle(), WM_APP, 0, 0);
    run.reset();
    ReportWhetherPinnedAndExit();
}

/// The module stays loaded, so each case runs in a process of its own.
TEST_F(LoadRounds, TheModuleStaysWhileAWindowMayCallIt) {
    EXPECT_EXIT(AnotherSubclassOnTopStillCallsIt(), testing::ExitedWithCode(0), "still loaded");
    EXPECT_EXIT(TheWindowsProcedureEndsItsInstanceDuringACall(), testing::ExitedWithCode(0), "still loaded");
}

}  // namespace
}  // namespace pixelforge::test
