// Draws one document with the real module in this process, through the stand-in host's classes.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "base/text.h"
#include "preview/host/debug_capture.h"
#include "preview/host/host_session.h"
#include "preview/host/module_library.h"
#include "preview/host/staged_shader.h"
#include "tests/support/document_builder.h"

namespace pixelforge::test {

/// The module, loaded once per test program.
inline const preview::ModuleLibrary& Module() {
    static const preview::ModuleLibrary module;
    return module;
}

/// The debugger output of this process, which can have only one debugger.
inline preview::DebugCapture& Capture() {
    static preview::DebugCapture capture;
    return capture;
}

/// The frame has 32 x 24 pixels unless another width is given; the run sets the playlist's name.
using RunOptions = preview::SessionOptions;

class ModuleRun {
public:
    /// `library` must outlive the run.
    explicit ModuleRun(const std::string& document, const RunOptions& options = {},
                       const preview::ModuleLibrary& library = Module())
        : ModuleRun(preview::StagedShader::OfDocument(BytesOf(document)), options, library) {}

    /// Of another playlist.
    explicit ModuleRun(preview::StagedShader shader, const RunOptions& options = {},
                       const preview::ModuleLibrary& library = Module())
        : drop_(std::move(shader)), session_(library, Completed(options)) {
        session_.Open();
    }

    preview::HostSession& Session() noexcept { return session_; }

    FrameResult Frame() { return session_.DrawFrame(); }

    /// Draws frames and returns the last one's result.
    FrameResult Frames(int count) {
        for (int i = 1; i < count; ++i) {
            Frame();
        }
        return Frame();
    }

    /// 0xRRGGBB; x from the left, y from the bottom, as in a shader.
    std::uint32_t Pixel(std::int32_t x, std::int32_t y) const {
        const preview::FramePixels pixels = session_.Pixels();
        return pixels.At(x, pixels.height - 1 - y) & 0xFFFFFF;
    }

    /// All debugger output since the run began; simultaneous runs share it.
    std::string Words() const {
        std::string words;
        const std::vector<std::string> lines = Capture().Lines();
        for (std::size_t i = firstLine_; i < lines.size(); ++i) {
            words += lines[i] + "\n";
        }
        return words;
    }

private:
    RunOptions Completed(RunOptions options) const {
        options.playlistName = drop_.PlaylistName();
        if (options.width == 0) {
            options.width = 32;
            options.height = 24;
        }
        return options;
    }

    std::size_t firstLine_ = Capture().Lines().size();
    preview::StagedShader drop_;
    preview::HostSession session_;
};

/// Has drawn the first frame of `ImageDocument`.
struct DrawnRun : ModuleRun {
    explicit DrawnRun(std::string_view body, const std::vector<Input>& inputs = {},
                      const RunOptions& options = {})
        : ModuleRun(ImageDocument(body, inputs), options) {
        if (Frame() != FrameResult::Drawn) {
            throw std::runtime_error(Words());
        }
    }
};

}  // namespace pixelforge::test
