// The device doubles as tests see them, and a module that draws their sound and picture.
#pragma once

#include <gtest/gtest.h>

#include <windows.h>

#include <cstdint>
#include <string>
#include <vector>

#include "preview/host/module_library.h"
#include "tests/support/module_run.h"

namespace pixelforge::test {

struct DeviceDouble {
    const char* settings;
    const wchar_t* library;

    void Set(const std::string& text) const { SetEnvironmentVariableA(settings, text.c_str()); }

    /// See the double's exports.
    long Count(const char* name) const {
        return reinterpret_cast<long (*)(const char*)>(Export("DoubleCount"))(name);
    }
    void Resume() const { Export("DoubleResume")(); }

private:
    using Function = void (*)();

    /// The double stays loaded, so that its counters last.
    Function Export(const char* name) const {
        return reinterpret_cast<Function>(GetProcAddress(LoadLibraryW(library), name));
    }
};

inline constexpr DeviceDouble kSound = {"PIXELFORGE_SOUND", L"sound_double.dll"};
inline constexpr DeviceDouble kCamera = {"PIXELFORGE_CAMERA", L"camera_double.dll"};

/// False after half a minute.
template <class Condition>
bool WaitUntil(const Condition& condition) {
    for (int wait = 0; wait < 1500 && !condition(); ++wait) {
        Sleep(20);
    }
    return condition();
}

/// A test fails if it leaves objects or task memory of the doubles, or breaks the rules of their interfaces.
class DeviceTest : public testing::Test {
protected:
    static std::vector<long> Counts() {
        return {kSound.Count("objects"), kSound.Count("misuse"), kCamera.Count("objects"),
                kCamera.Count("misuse")};
    }

    ~DeviceTest() override { EXPECT_EQ(Counts(), counts) << "sound objects, misuses; camera's"; }

    std::vector<long> counts = Counts();  ///< at the start
};

/// Pixels of all frames: the width of a spectrum.
constexpr std::int32_t kWidth = 512;
constexpr std::int32_t kHeight = 48;

/// Loads the module, and unloads it on destruction. The image pass has one channel, of type `channel`.
struct LiveRun : preview::ModuleLibrary, ModuleRun {
    LiveRun(const char* channel, const char* body, preview::HostWindow* window = nullptr)
        : ModuleRun(ImageDocument(body, {{.ctype = channel}}),
                    {.width = kWidth, .height = kHeight, .window = window}, *this) {}

    /// Draws until `seen` returns true. A failed frame fails the test.
    template <class Condition>
    bool DrawUntil(const Condition& seen) {
        return WaitUntil([&] {
            const FrameResult result = Frame();
            EXPECT_EQ(result, FrameResult::Drawn);
            return result != FrameResult::Drawn || seen();
        });
    }
};

}  // namespace pixelforge::test
