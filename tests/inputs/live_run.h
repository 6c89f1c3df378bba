// The module, loaded for one test, drawing what it hears and sees of the devices' stand-ins.
#pragma once

#include <gtest/gtest.h>

#include <windows.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "preview/host/host_session.h"
#include "preview/host/module_library.h"
#include "preview/host/staged_shader.h"
#include "tests/support/document_builder.h"

namespace pixelforge::test {

/// Settings of the stand-ins, which read them all the time.
inline void SetSound(const std::string& settings) {
    SetEnvironmentVariableA("PIXELFORGE_SOUND", settings.c_str());
}

inline void SetCamera(const std::string& settings) {
    SetEnvironmentVariableA("PIXELFORGE_CAMERA", settings.c_str());
}

/// A number that a stand-in exports; 0 while it is not loaded.
inline long AskDouble(const wchar_t* library, const char* function) {
    const HMODULE module = GetModuleHandleW(library);
    if (!module)
        return 0;
    return reinterpret_cast<long (*)()>(reinterpret_cast<void (*)()>(GetProcAddress(module, function)))();
}

/// COM objects that the stand-in for a sound device keeps alive.
inline long SoundObjects() {
    return AskDouble(L"sound_double.dll", "SoundDoubleObjects");
}

/// Loads the module at its birth and unloads it at its end. Its image has one channel, of the type `channel`.
class LiveRun {
public:
    LiveRun(const char* channel, const char* body, std::int32_t width, std::int32_t height)
        : LiveRun(DocumentBuilder().Image(MainImage(body), {{.channel = 0, .ctype = channel}}).Json(), width,
                  height) {}

    /// Draws frames, about 50 a second, until `seen` holds; false after `milliseconds` without that. A frame
    /// that is not drawn fails the test.
    bool DrawUntil(const std::function<bool()>& seen, DWORD milliseconds) {
        const ULONGLONG end = GetTickCount64() + milliseconds;
        do {
            const FrameResult result = Frame();
            EXPECT_EQ(result, FrameResult::Drawn);
            if (result != FrameResult::Drawn || seen())
                return result == FrameResult::Drawn;
            Sleep(20);
        } while (GetTickCount64() < end);
        return false;
    }

    FrameResult Frame() { return session_->DrawFrame(); }

    void DrawFor(DWORD milliseconds) {
        DrawUntil([] { return false; }, milliseconds);
    }

    /// 0xRRGGBB; x from the left, y from the bottom.
    std::uint32_t Pixel(std::int32_t x, std::int32_t y) const {
        const preview::FramePixels pixels = session_->Pixels();
        return pixels.At(x, pixels.height - 1 - y) & 0xFFFFFF;
    }

    void Close() { session_.reset(); }

private:
    LiveRun(const std::string& document, std::int32_t width, std::int32_t height)
        : drop_(preview::StagedShader::OfDocument(
              {reinterpret_cast<const std::uint8_t*>(document.data()), document.size()})) {
        preview::SessionOptions options;
        options.width = width;
        options.height = height;
        options.playlistName = drop_.PlaylistName();
        session_.emplace(library_, options).Open();
    }

    preview::ModuleLibrary library_;
    preview::StagedShader drop_;
    std::optional<preview::HostSession> session_;
};

}  // namespace pixelforge::test
