// One document drawn by the real module in this process, through the stand-in host's own classes.
#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

#include "preview/host_session.h"
#include "preview/module_library.h"
#include "preview/shader_drop.h"
#include "tests/support/document_builder.h"

namespace pixelforge::test {

/// The module, loaded once for the whole test program.
const preview::ModuleLibrary& Module();

/// What a test wants to differ from a 32 x 24 frame with default settings.
struct RunOptions {
    std::int32_t width = 32;
    std::int32_t height = 24;
    std::vector<preview::ControlSetting> settings;
    std::int32_t levelDivisor = 256;
    std::int32_t levelOutput = 0;
    preview::HostWindow* window = nullptr;
};

class ModuleRun {
public:
    explicit ModuleRun(const std::string& document, const RunOptions& options = {});

    preview::HostSession& Session() noexcept { return session_; }

    FrameResult Frame() { return session_.DrawFrame(); }

    /// Draws frames; the last one's result.
    FrameResult Frames(int count);

    /// 0xRRGGBB; x from the left, y from the bottom, as a shader counts.
    std::uint32_t Pixel(std::int32_t x, std::int32_t y) const;

    /// Everything on the debugger output since the run began, one text. Runs side by side share it.
    std::string Words() const;

private:
    std::size_t firstLine_;
    preview::ShaderDrop drop_;
    preview::HostSession session_;
};

}  // namespace pixelforge::test
