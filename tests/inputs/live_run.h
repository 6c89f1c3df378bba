// Loads the module for one test and draws the sound and picture of the device doubles.
#pragma once

#include <gtest/gtest.h>

#include <windows.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "preview/host/module_library.h"
#include "tests/end_to_end/module_run.h"
#include "tests/support/document_builder.h"

namespace pixelforge::test {

/// The doubles reread their settings on every call.
inline void SetSound(const std::string& settings) {
    SetEnvironmentVariableA("PIXELFORGE_SOUND", settings.c_str());
}

inline void SetCamera(const std::string& settings) {
    SetEnvironmentVariableA("PIXELFORGE_CAMERA", settings.c_str());
}

/// Calls a counter that a double exports; 0 while the double is not loaded.
inline long DoubleCounter(const wchar_t* library, const char* function) {
    const HMODULE module = GetModuleHandleW(library);
    if (!module) {
        return 0;
    }
    return reinterpret_cast<long (*)()>(reinterpret_cast<void (*)()>(GetProcAddress(module, function)))();
}

/// Live COM objects of each double; a terminated thread leaves its objects.
inline long SoundObjects() {
    return DoubleCounter(L"sound_double.dll", "SoundDoubleObjects");
}

/// Calls of the sound double's methods so far.
inline long SoundCalls() {
    return DoubleCounter(L"sound_double.dll", "SoundDoubleCalls");
}

inline long CameraObjects() {
    return DoubleCounter(L"camera_double.dll", "CameraDoubleObjects");
}

/// Loads the module on construction and unloads it on destruction. The image pass has one channel, of type
/// `channel`.
class LiveRun {
public:
    LiveRun(const char* channel, const char* body, std::int32_t width, std::int32_t height)
        : LiveRun(DocumentBuilder().Image(MainImage(body), {{.channel = 0, .ctype = channel}}).Json(), width,
                  height) {}

    /// Draws about 50 frames per second until `seen` returns true; false on timeout. A failed frame fails the
    /// test.
    bool DrawUntil(const std::function<bool()>& seen, DWORD milliseconds) {
        const ULONGLONG end = GetTickCount64() + milliseconds;
        do {
            const FrameResult result = Frame();
            EXPECT_EQ(result, FrameResult::Drawn);
            if (result != FrameResult::Drawn || seen()) {
                return result == FrameResult::Drawn;
            }
            Sleep(20);
        } while (GetTickCount64() < end);
        return false;
    }

    FrameResult Frame() { return run_->Frame(); }

    void DrawFor(DWORD milliseconds) {
        DrawUntil([] { return false; }, milliseconds);
    }

    /// 0xRRGGBB; x from the left, y from the bottom.
    std::uint32_t Pixel(std::int32_t x, std::int32_t y) const { return run_->Pixel(x, y); }

    void Close() { run_.reset(); }

private:
    LiveRun(const std::string& document, std::int32_t width, std::int32_t height) {
        RunOptions options;
        options.width = width;
        options.height = height;
        run_.emplace(document, options, library_);
    }

    preview::ModuleLibrary library_;
    std::optional<ModuleRun> run_;
};

}  // namespace pixelforge::test
