// One document drawn by the real module in this process, through the stand-in host's own classes.
#pragma once

#include <string>

#include "preview/host/host_session.h"
#include "preview/host/module_library.h"
#include "preview/host/staged_shader.h"
#include "tests/support/document_builder.h"

namespace pixelforge::test {

/// The module, loaded once for the whole test program.
const preview::ModuleLibrary& Module();

/// A 32 x 24 frame with default settings; the playlist's name comes with the run.
struct RunOptions : preview::SessionOptions {
    RunOptions() {
        width = 32;
        height = 24;
    }
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
    preview::StagedShader drop_;
    preview::HostSession session_;
};

}  // namespace pixelforge::test
