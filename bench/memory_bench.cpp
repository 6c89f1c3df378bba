// Peak memory of a load through the real module, against the size of the document's pictures or text.
#include <windows.h>

#include <psapi.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bench/paired_runner.h"
#include "tests/support/module_run.h"
#include "tests/support/temp_file.h"

namespace pixelforge::bench {
namespace {

constexpr double kMegabyte = 1024.0 * 1024.0;
constexpr std::uint32_t kSide = 2048;
constexpr int kPictures = 4;
constexpr std::size_t kTextBytes = 20u << 20;

/// Bytes of this process in physical memory.
std::size_t ResidentBytes() {
    PROCESS_MEMORY_COUNTERS counters = {};
    if (!GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters))) {
        throw std::runtime_error("the process's memory cannot be read");
    }
    return counters.WorkingSetSize;
}

/// Samples the resident memory until it is stopped.
class PeakWatch {
public:
    PeakWatch() : start_(ResidentBytes()), thread_([this] { Watch(); }) {}
    ~PeakWatch() { Stop(); }
    PeakWatch(const PeakWatch&) = delete;
    PeakWatch& operator=(const PeakWatch&) = delete;

    /// The growth since construction, in MB.
    double Growth() {
        Stop();
        return static_cast<double>(peak_ - start_) / kMegabyte;
    }

private:
    void Watch() {
        while (!stopped_) {
            peak_ = std::max(peak_, ResidentBytes());
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }
    void Stop() {
        stopped_ = true;
        if (thread_.joinable()) {
            thread_.join();
        }
    }

    std::size_t start_;
    std::size_t peak_ = start_;
    std::atomic<bool> stopped_ = false;
    std::thread thread_;
};

/// An uncompressed 32-bit picture of noise.
std::string NoisePicture(std::uint32_t side) {
    const std::uint32_t bytes = side * side * 4;
    const std::uint32_t header[13] = {54 + bytes, 0, 54, 40, side, side, 32 << 16 | 1};
    std::string file = "BM" + std::string(reinterpret_cast<const char*>(header), sizeof(header));
    std::uint32_t state = 1;
    for (std::uint32_t i = 0; i < bytes; ++i) {
        state = state * 1664525 + 1013904223;
        file += static_cast<char>(state >> 24);
    }
    return file;
}

std::string DocumentOfPictures(const test::TempFolder& folder, std::uint32_t side) {
    std::vector<test::Input> inputs;
    for (int i = 0; i < kPictures; ++i) {
        const std::string path = folder.Write("noise" + std::to_string(i) + ".bmp", NoisePicture(side));
        inputs.push_back({.channel = i, .ctype = "texture", .id = 0, .src = path});
    }
    return test::DocumentBuilder().Image(test::MainImage("c = texture(iChannel3, p);"), inputs).Json();
}

std::string DocumentOfText() {
    std::string code = test::MainImage("c = vec4(1);");
    while (code.size() < kTextBytes) {
        code += "\n// a comment, which the driver drops before it needs much memory for it";
    }
    return test::DocumentBuilder().Image(code).Json();
}

double PeakOfLoad(const std::string& document) {
    test::ModuleRun run(document);
    PeakWatch watch;
    if (run.Frame() != FrameResult::Drawn) {
        throw std::runtime_error("the document cannot be drawn: " + run.Words());
    }
    return watch.Growth();
}

/// The ratio is the highest: memory that the driver keeps after the first load hides part of later ones.
void Add(Report& report, const std::string& what, const std::string& document, double size, int rounds,
         double limit) {
    std::vector<double> ratios;
    ratios.reserve(static_cast<std::size_t>(rounds));
    for (int round = 0; round < rounds; ++round) {
        ratios.push_back(PeakOfLoad(document) / size);
    }
    const double highest = Quantile(ratios, 1);
    report.Add(Comparison{"peak of a load in MB, " + what, "its size in MB", highest * size, size, highest,
                          Quantile(ratios, 0.25), Quantile(ratios, 0.75), limit});
}

void MeasureAll(int rounds, Report& report) {
    const test::TempFolder folder;
    // Loads the libraries of the driver and the codecs.
    PeakOfLoad(DocumentOfPictures(folder, 4));
    Add(report, "20 MB of text", DocumentOfText(), kTextBytes / kMegabyte, rounds, 8);
    Add(report, "four pictures", DocumentOfPictures(folder, kSide), kPictures * kSide * kSide * 4 / kMegabyte,
        rounds, 1.3);
}

}  // namespace
}  // namespace pixelforge::bench

int main(int argc, char** argv) {
    using namespace pixelforge::bench;
    return RunBench(argc, argv, 3, MeasureAll);
}
