// Draws one document with the real module in this process, through the stand-in host's classes.
#pragma once

#include <string>

#include "preview/host/host_session.h"
#include "preview/host/module_library.h"
#include "preview/host/staged_shader.h"
#include "tests/support/document_builder.h"

namespace pixelforge::test {

/// The module, loaded once per test program.
const preview::ModuleLibrary& Module();

/// The frame has 32 x 24 pixels unless another width is given; the run sets the playlist's name.
using RunOptions = preview::SessionOptions;

class ModuleRun {
public:
    /// `library` must outlive the run.
    explicit ModuleRun(const std::string& document, const RunOptions& options = {},
                       const preview::ModuleLibrary& library = Module());

    preview::HostSession& Session() noexcept { return session_; }

    FrameResult Frame() { return session_.DrawFrame(); }

    /// Draws frames and returns the last one's result.
    FrameResult Frames(int count);

    /// 0xRRGGBB; x from the left, y from the bottom, as in a shader.
    std::uint32_t Pixel(std::int32_t x, std::int32_t y) const;

    /// All debugger output since the run began; simultaneous runs share it.
    std::string Words() const;

    /// Of another playlist.
    explicit ModuleRun(preview::StagedShader shader, const RunOptions& options = {},
                       const preview::ModuleLibrary& library = Module());

private:
    std::size_t firstLine_;
    preview::StagedShader drop_;
    preview::HostSession session_;
};

/// Has drawn the first frame of `ImageDocument`.
struct DrawnRun : ModuleRun {
    explicit DrawnRun(std::string_view body, const std::vector<Input>& inputs = {},
                      const RunOptions& options = {});
};

}  // namespace pixelforge::test
