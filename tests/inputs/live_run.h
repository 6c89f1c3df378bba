// The module, loaded for one test, drawing what it hears and sees of the devices' stand-ins.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "preview/host_session.h"
#include "preview/module_library.h"
#include "preview/shader_drop.h"

namespace pixelforge::test {

/// Sets PIXELFORGE_SOUND or PIXELFORGE_CAMERA, which the stand-ins read all the time.
void SetSound(const std::string& settings);
void SetCamera(const std::string& settings);

/// COM objects that the stand-ins keep alive; 0 while their DLL is not loaded.
long SoundObjects();
long CameraObjects();

/// Calls that the sound device has received.
long SoundCalls();

/// Loads the module at its birth and unloads it at its end.
class LiveRun {
public:
    LiveRun(const std::string& document, std::int32_t width, std::int32_t height);

    FrameResult Frame() { return session_->DrawFrame(); }

    /// Draws frames, about 50 a second, until `seen` holds; false after `milliseconds` without that, or when
    /// a frame fails.
    bool DrawUntil(const std::function<bool()>& seen, DWORD milliseconds);

    /// Draws frames for that long; false when one fails.
    bool DrawFor(DWORD milliseconds);

    /// 0xRRGGBB; x from the left, y from the bottom.
    std::uint32_t Pixel(std::int32_t x, std::int32_t y) const;

    /// The red levels of a row.
    std::vector<int> Row(std::int32_t y) const;

    void Close() { session_.reset(); }

private:
    preview::ModuleLibrary library_;
    preview::ShaderDrop drop_;
    std::unique_ptr<preview::HostSession> session_;
};

/// A document whose image copies the sound texture pixel by pixel, for a frame of 512 x 2.
std::string SoundDocument();

}  // namespace pixelforge::test
