// Frames and loads of the module, as the host sees them, against a bare loop in the same process.
#include <windows.h>

#include <GL/glew.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <string>

#include "base/bitmap.h"
#include "base/text.h"
#include "bench/bare_loop.h"
#include "bench/paired_runner.h"
#include "glsl/include_preprocessor.h"
#include "module/shader_loader.h"
#include "preview/host/staged_shader.h"
#include "render/gl_renderer.h"
#include "render/pass_graph.h"
#include "render/render_frame.h"
#include "service/http_get.h"
#include "tests/support/module_run.h"

namespace pixelforge::bench {
namespace {

constexpr std::int32_t kWidth = 1280;
constexpr std::int32_t kHeight = 720;
constexpr double kFrameLimit = 1.05;
constexpr double kLoadLimit = 1.1;
constexpr int kFramesPerLoad = 10;  ///< rounds: a load takes much longer than a frame

struct Shader {
    std::string name;
    std::string json;
};

Shader OnePass() {
    return {"one pass",
            test::DocumentBuilder()
                .Image(test::MainImage("c = vec4(p / iResolution.xy, float(iFrame & 255) / 255.0, 1);"))
                .Json()};
}

/// Every buffer reads itself and the previous one; the image reads all of them.
Shader FourBuffers() {
    constexpr int kFirstId = 257;
    test::DocumentBuilder document;
    std::vector<test::Input> all;
    for (int i = 0; i < 4; ++i) {
        const test::Input self = {.channel = 0, .id = kFirstId + i};
        const test::Input previous = {.channel = 1, .id = kFirstId + (i + 3) % 4};
        const std::string body =
            "ivec2 q = ivec2(p); c = 0.75 * texelFetch(iChannel0, q, 0) + 0.25 *"
            " texelFetch(iChannel1, q, 0) + vec4(p / iResolution.xy, 0.5, 1) * " +
            std::to_string(i + 1) + ".0 / 64.0; c = fract(c);";
        document.Buffer(static_cast<char>('A' + i), test::MainImage(body), {self, previous});
        all.push_back({.channel = i, .id = kFirstId + i});
    }
    document.Image(test::MainImage("ivec2 q = ivec2(p); c = 0.25 * (texelFetch(iChannel0, q, 0) +"
                                   " texelFetch(iChannel1, q, 0) + texelFetch(iChannel2, q, 0) +"
                                   " texelFetch(iChannel3, q, 0));"),
                   all);
    return {"four buffers", document.Json()};
}

void RequireDrawn(FrameResult result) {
    if (result != FrameResult::Drawn) {
        throw std::runtime_error("the module failed to draw");
    }
}

/// Both have drawn the same number of frames.
void RequireSamePicture(const preview::FramePixels& ours, const preview::FramePixels& bare) {
    if (!std::equal(ours.bytes.begin(), ours.bytes.end(), bare.bytes.begin(), bare.bytes.end())) {
        throw std::runtime_error("module and bare loop drew different pictures");
    }
}

/// The host calls the module with no context current.
void ReleaseCurrent() {
    wglMakeCurrent(nullptr, nullptr);
}

void CompareFrames(const Shader& shader, test::ModuleRun& run, BareLoop& bare, int rounds, Report& report) {
    const auto& draw = test::Module().Functions().drawFrame;
    const Side ours = {
        "ModuleDrawFrame, " + shader.name,
        [&] {
            RequireDrawn(static_cast<FrameResult>(draw(run.Session().Instance(), &run.Session().Context())));
        },
        ReleaseCurrent};
    const Side peer = {"bare loop", [&] { bare.DrawFrame(); }, [&] { bare.MakeCurrent(); }};
    report.Add(Compare(ours, peer, rounds, kFrameLimit));
    RequireSamePicture(run.Session().Pixels(), bare.Pixels());
}

/// The whole load through the DLL's interface, with the first frame.
void CompareLoads(const Shader& shader, test::ModuleRun& run, BareLoop& bare, int rounds, Report& report) {
    const Side ours = {"load and first frame, " + shader.name,
                       [&] {
                           run.Session().Initialize();
                           RequireDrawn(run.Frame());
                       },
                       ReleaseCurrent};
    const Side peer = {"bare loop", [&] {
                           bare.Load(shader.json);
                           bare.DrawFrame();
                       }};
    report.Add(Compare(ours, peer, rounds, kLoadLimit));
}

/// The loader's steps, taken from the libraries that the DLL consists of, with the times between them.
class OwnLoad {
public:
    explicit OwnLoad(const Shader& shader)
        : shader_(preview::StagedShader::OfDocument(BytesOf(shader.json))) {}

    LoadTimes Run() {
        LoadTimes times;
        Stopwatch watch;
        renderer_.reset();
        renderer_ = CreateGlRenderer(window_.Handle(), kWidth, kHeight);
        renderer_->includes = includes_.get();
        times["context"] = watch.Lap();
        std::string reason;
        if (!LoadShaderById(session_.get(), shader_.Path().c_str(), &renderer_->document, reason)) {
            throw std::runtime_error(reason);
        }
        times["text"] = watch.Lap();
        BuildPassGraph(*renderer_, [&](const char* step) {
            glFinish();
            times[step] += watch.Lap();
        });
        const FrameParameters parameters = {1, 0.25F};
        RenderFrame(renderer_.get(), &parameters, 1, 0, 0);
        ReadFrameIntoBitmap(renderer_.get(), PixelsOf(surface_.Bitmap()));
        times["first frame"] = watch.Lap();
        return times;
    }

private:
    preview::StagedShader shader_;
    preview::HostWindow window_{kWidth, kHeight};
    preview::HostSurface surface_{kWidth, kHeight};
    HeapRecord<InternetSession> session_ = OpenInternetSession();
    HeapRecord<IncludeContext> includes_ = NewHeapRecord<IncludeContext>();
    HeapRecord<GlRenderer> renderer_;
};

LoadTimes LoadBare(const Shader& shader, BareLoop& bare) {
    LoadTimes times = bare.Load(shader.json);
    Stopwatch watch;
    bare.DrawFrame();
    times["first frame"] = watch.Lap();
    return times;
}

void CompareParts(const Shader& shader, BareLoop& bare, int rounds, Report& report) {
    OwnLoad own(shader);
    std::map<std::string, std::vector<double>> ours;
    std::map<std::string, std::vector<double>> peers;
    for (int round = 0; round < rounds; ++round) {
        for (const auto& [part, time] : own.Run()) {
            ours[part].push_back(time);
        }
        for (const auto& [part, time] : LoadBare(shader, bare)) {
            peers[part].push_back(time);
        }
    }
    for (const char* part : {"context", "text", "compile", "link", "targets", "first frame"}) {
        report.Add(Summarise(std::string("  ") + part, "bare loop", ours[part], peers[part], std::nullopt));
    }
    report.Add(Timing{"  media", Quantile(ours["media"], 0.5)});
}

void CompareAll(int rounds, Report& report) {
    for (const Shader& shader : {OnePass(), FourBuffers()}) {
        test::RunOptions options;
        options.width = kWidth;
        options.height = kHeight;
        test::ModuleRun run(shader.json, options);
        BareLoop bare(kWidth, kHeight);
        bare.Load(shader.json);
        CompareFrames(shader, run, bare, rounds, report);
        const int loads = std::max(1, rounds / kFramesPerLoad);
        CompareLoads(shader, run, bare, loads, report);
        CompareParts(shader, bare, loads, report);
    }
}

}  // namespace
}  // namespace pixelforge::bench

int main(int argc, char** argv) {
    using namespace pixelforge::bench;
    return RunBench(argc, argv, 300, CompareAll);
}
