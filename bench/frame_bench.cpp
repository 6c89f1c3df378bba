// Frames and loads of the module, as the host sees them, against a bare loop in the same process.
#include <algorithm>
#include <stdexcept>
#include <string>

#include "bench/bare_loop.h"
#include "bench/paired_runner.h"
#include "tests/end_to_end/module_run.h"

namespace pixelforge::bench {
namespace {

constexpr std::int32_t kWidth = 1280;
constexpr std::int32_t kHeight = 720;
constexpr double kFrameLimit = 1.05;
constexpr int kFramesPerLoad = 30;  ///< a load takes longer than this many frames

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

void CompareLoads(const Shader& shader, test::ModuleRun& run, BareLoop& bare, int rounds, Report& report) {
    std::vector<LoadTimes> loads;
    const Side ours = {"load and first frame, " + shader.name,
                       [&] {
                           run.Session().Initialize();
                           RequireDrawn(run.Frame());
                       },
                       ReleaseCurrent};
    const Side peer = {"bare loop",
                       [&] {
                           loads.push_back(bare.Load(shader.json));
                           bare.DrawFrame();
                       },
                       [&] { bare.MakeCurrent(); }};
    report.Add(Compare(ours, peer, rounds, std::nullopt));
    const auto add = [&](const char* part, double LoadTimes::*time) {
        std::vector<double> times;
        times.reserve(loads.size());
        for (const LoadTimes& load : loads) {
            times.push_back(load.*time);
        }
        report.Add(Timing{"  bare load: " + std::string(part), Quantile(times, 0.5)});
    };
    add("source", &LoadTimes::source);
    add("compile", &LoadTimes::compile);
    add("link", &LoadTimes::link);
    add("targets", &LoadTimes::targets);
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
        CompareLoads(shader, run, bare, std::max(1, rounds / kFramesPerLoad), report);
    }
}

}  // namespace
}  // namespace pixelforge::bench

int main(int argc, char** argv) {
    using namespace pixelforge::bench;
    return RunBench(argc, argv, 300, CompareAll);
}
