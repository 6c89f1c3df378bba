// The sound analysis on one thread: the transform against FFTW, and a complete spectrum step.
#include <fftw3.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <optional>

#include "bench/paired_runner.h"
#include "inputs/spectrum.h"

namespace pixelforge::bench {
namespace {

/// A single run is too short for the clock; the reported times are for all of them.
constexpr int kRunsPerRound = 2000;
constexpr double kTransformLimit = 6;

Side Repeat(const char* name, std::function<void()> once) {
    return {name, [once = std::move(once)] {
                for (int i = 0; i < kRunsPerRound; ++i) {
                    once();
                }
            }};
}

struct FftwPlanDeleter {
    void operator()(fftw_plan_s* plan) const { fftw_destroy_plan(plan); }
};

/// In place on complex values, planned with FFTW_PATIENT: the fastest FFTW offers on one thread.
class Fftw {
public:
    Fftw()
        : values_(fftw_alloc_complex(kTransformSize)),
          plan_(fftw_plan_dft_1d(kTransformSize, values_, values_, FFTW_FORWARD, FFTW_PATIENT)) {
        // Zeros stay zeros after any number of transforms.
        std::memset(values_, 0, kTransformSize * sizeof(fftw_complex));
    }
    ~Fftw() { fftw_free(values_); }
    Fftw(const Fftw&) = delete;
    Fftw& operator=(const Fftw&) = delete;

    void Run() { fftw_execute(plan_.get()); }

private:
    fftw_complex* values_;
    std::unique_ptr<fftw_plan_s, FftwPlanDeleter> plan_;
};

void FillWithSound(SpectrumState& state, double level) {
    for (std::size_t n = 0; n < kTransformSize; ++n) {
        const double x = static_cast<double>(n);
        state.sampleRing[n] = level * (std::sin(x * 0.131) + 0.3 * std::sin(x * 1.7));
    }
}

void CompareAll(int rounds, Report& report) {
    SpectrumState state;
    SetCaptureRate(state, 48000);
    FillWithSound(state, 8000);
    Fftw fftw;
    const Side peer = Repeat("FFTW, complex, in place", [&] { fftw.Run(); });
    const Side transform =
        Repeat("FourierTransform 1024", [&] { state.transform.Run(state.sampleRing, state.fftBuffer); });
    report.Add(Compare(transform, peer, rounds, kTransformLimit));
    for (const double level : {8000.0, 0.0}) {
        // Long enough for the averages to settle in silence.
        for (int i = 0; i < 10000; ++i) {
            FillWithSound(state, level);
            RunSpectrumStep(state);
        }
        const Side step =
            Repeat(level > 0 ? "spectrum step, sound" : "spectrum step, silence", [&state, level] {
                FillWithSound(state, level);
                RunSpectrumStep(state);
            });
        const Side filling = Repeat("filling the ring", [&state, level] { FillWithSound(state, level); });
        report.Add(Compare(step, filling, rounds, std::nullopt));
    }
}

}  // namespace
}  // namespace pixelforge::bench

int main(int argc, char** argv) {
    using namespace pixelforge::bench;
    return RunBench(argc, argv, 15, CompareAll);
}
