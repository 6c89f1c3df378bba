// Opens and draws a run.
#include "tests/support/module_run.h"

#include <stdexcept>

#include "base/text.h"
#include "preview/host/debug_capture.h"

namespace pixelforge::test {
namespace {

RunOptions Named(RunOptions options, const std::string& playlist) {
    options.playlistName = playlist;
    if (options.width == 0) {
        options.width = 32;
        options.height = 24;
    }
    return options;
}

/// One per process, which can have only one debugger.
preview::DebugCapture& Capture() {
    static preview::DebugCapture capture;
    return capture;
}

}  // namespace

const preview::ModuleLibrary& Module() {
    static const preview::ModuleLibrary module;
    return module;
}

ModuleRun::ModuleRun(const std::string& document, const RunOptions& options,
                     const preview::ModuleLibrary& library)
    : ModuleRun(preview::StagedShader::OfDocument(BytesOf(document)), options, library) {}

ModuleRun::ModuleRun(preview::StagedShader shader, const RunOptions& options,
                     const preview::ModuleLibrary& library)
    : firstLine_(Capture().Lines().size()),
      drop_(std::move(shader)),
      session_(library, Named(options, drop_.PlaylistName())) {
    session_.Open();
}

DrawnRun::DrawnRun(std::string_view body, const std::vector<Input>& inputs, const RunOptions& options)
    : ModuleRun(ImageDocument(body, inputs), options) {
    if (Frame() != FrameResult::Drawn) {
        throw std::runtime_error(Words());
    }
}

FrameResult ModuleRun::Frames(int count) {
    FrameResult result = FrameResult::Failed;
    for (int i = 0; i < count; ++i) {
        result = Frame();
    }
    return result;
}

std::uint32_t ModuleRun::Pixel(std::int32_t x, std::int32_t y) const {
    const preview::FramePixels pixels = session_.Pixels();
    return pixels.At(x, pixels.height - 1 - y) & 0xFFFFFF;
}

std::string ModuleRun::Words() const {
    std::string words;
    const std::vector<std::string> lines = Capture().Lines();
    for (std::size_t i = firstLine_; i < lines.size(); ++i) {
        words += lines[i] + "\n";
    }
    return words;
}

}  // namespace pixelforge::test
