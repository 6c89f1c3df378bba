// Paired timing, with table and JSON output.
#include "bench/paired_runner.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <fstream>
#include <utility>

namespace pixelforge::bench {
namespace {

double Now() {
#ifdef _WIN32
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration<double, std::milli>(now).count();
#else
    return static_cast<double>(std::clock()) * 1000.0 / CLOCKS_PER_SEC;
#endif
}

double MillisecondsOf(const Side& side) {
    if (side.prepare) {
        side.prepare();
    }
    const double begin = Now();
    side.run();
    return Now() - begin;
}

}  // namespace

double Quantile(std::vector<double> values, double share) {
    const auto index = std::lround(share * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), values.begin() + index, values.end());
    return values[static_cast<std::size_t>(index)];
}

Comparison Compare(const Side& subject, const Side& peer, int rounds, std::optional<double> limit) {
    MillisecondsOf(subject);
    MillisecondsOf(peer);
    std::vector<double> subjectTimes;
    std::vector<double> peerTimes;
    for (int round = 0; round < rounds; ++round) {
        const bool subjectFirst = round % 2 == 0;
        const double first = MillisecondsOf(subjectFirst ? subject : peer);
        const double second = MillisecondsOf(subjectFirst ? peer : subject);
        subjectTimes.push_back(subjectFirst ? first : second);
        peerTimes.push_back(subjectFirst ? second : first);
    }
    return Summarise(subject.name, peer.name, subjectTimes, peerTimes, limit);
}

Comparison Summarise(const std::string& subject, const std::string& peer,
                     const std::vector<double>& subjectTimes, const std::vector<double>& peerTimes,
                     std::optional<double> limit) {
    std::vector<double> ratios;
    for (std::size_t round = 0; round < subjectTimes.size(); ++round) {
        ratios.push_back(subjectTimes[round] / peerTimes[round]);
    }
    return {subject,
            peer,
            Quantile(subjectTimes, 0.5),
            Quantile(peerTimes, 0.5),
            Quantile(ratios, 0.5),
            Quantile(ratios, 0.25),
            Quantile(ratios, 0.75),
            limit};
}

void Report::Add(Comparison comparison) {
    if (comparisons_.empty()) {
        std::printf("%-44s %-28s %10s %10s %8s %17s %8s\n", "subject", "peer", "subject ms", "peer ms",
                    "ratio", "quartiles", "limit");
    }
    const Comparison& c = comparisons_.emplace_back(std::move(comparison));
    std::printf("%-44s %-28s %10.3f %10.3f %8.3f %8.3f %8.3f", c.subject.c_str(), c.peer.c_str(),
                c.subjectTime, c.peerTime, c.ratio, c.lowerQuartile, c.upperQuartile);
    if (c.limit) {
        std::printf(" %8.3f %s", *c.limit, c.IsWithinLimit() ? "ok" : "EXCEEDED");
    }
    std::printf("\n");
    std::fflush(stdout);
}

void Report::Add(Timing timing) {
    const Timing& t = timings_.emplace_back(std::move(timing));
    std::printf("%-73s %10.3f\n", t.subject.c_str(), t.median);
    std::fflush(stdout);
}

bool Report::AllWithinLimits() const {
    return std::all_of(comparisons_.begin(), comparisons_.end(),
                       [](const Comparison& comparison) { return comparison.IsWithinLimit(); });
}

bool Report::WriteJson(const std::string& path) const {
    std::ofstream file(path);
    const char* separator = "[\n";
    for (const Comparison& c : comparisons_) {
        file << separator << R"({"subject":")" << c.subject << R"(","peer":")" << c.peer
             << R"(","subjectMilliseconds":)" << c.subjectTime << R"(,"peerMilliseconds":)" << c.peerTime
             << R"(,"ratio":)" << c.ratio << R"(,"quartiles":[)" << c.lowerQuartile << ',' << c.upperQuartile
             << R"(],"limit":)";
        if (c.limit) {
            file << *c.limit << '}';
        } else {
            file << "null}";
        }
        separator = ",\n";
    }
    for (const Timing& t : timings_) {
        file << separator << R"({"subject":")" << t.subject << R"(","milliseconds":)" << t.median << '}';
        separator = ",\n";
    }
    file << "\n]\n";
    return static_cast<bool>(file.flush());
}

int RunBench(int argc, char** argv, int defaultRounds,
             const std::function<void(int rounds, Report& report)>& measure) {
    Report report;
    try {
        measure(argc > 2 ? std::max(1, std::atoi(argv[2])) : defaultRounds, report);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
    if (argc > 1 && !report.WriteJson(argv[1])) {
        std::fprintf(stderr, "cannot write %s\n", argv[1]);
        return 2;
    }
    return report.AllWithinLimits() ? 0 : 1;
}

}  // namespace pixelforge::bench
