// Times code against a peer in the same run and reports the ratios.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace pixelforge::bench {

/// One comparison. Times are medians in milliseconds; `ratio` is the median of each round's subject / peer,
/// so that temporary load affects both sides alike.
struct Comparison {
    std::string subject;
    std::string peer;
    double subjectTime;
    double peerTime;
    double ratio;
    double lowerQuartile;  ///< of the ratios
    double upperQuartile;
    std::optional<double> limit;  ///< highest acceptable ratio

    bool IsWithinLimit() const { return !limit || ratio <= *limit; }
};

struct Side {
    std::string name;
    std::function<void()> run;
    std::function<void()> prepare = {};  ///< not measured, before each run; may be empty
};

/// Runs both sides once for warm-up, then `rounds` times, alternating which goes first. Measures processor
/// time natively, which excludes other programs, and wall time on Windows, where GL uses its own threads.
Comparison Compare(const Side& subject, const Side& peer, int rounds, std::optional<double> limit);

/// Sums up times of the same rounds (not empty), one of each side per round.
Comparison Summarise(const std::string& subject, const std::string& peer,
                     const std::vector<double>& subjectTimes, const std::vector<double>& peerTimes,
                     std::optional<double> limit);

/// The quantile `share` of the values (not empty); 0.5 is the median.
double Quantile(std::vector<double> values, double share);

/// A time without a peer.
struct Timing {
    std::string subject;
    double median;  ///< milliseconds
};

/// Prints each entry as it is added, with a heading before the first comparison.
class Report {
public:
    void Add(Comparison comparison);
    void Add(Timing timing);

    bool AllWithinLimits() const;

    /// Writes one JSON array, timings last; false if the file cannot be written.
    bool WriteJson(const std::string& path) const;

private:
    std::vector<Comparison> comparisons_;
    std::vector<Timing> timings_;
};

/// The body of a measuring program, "NAME_bench [JSON file [rounds]]". Returns the exit code: 0, 1 if a limit
/// is exceeded, 2 if `measure` throws or the file cannot be written.
int RunBench(int argc, char** argv, int defaultRounds,
             const std::function<void(int rounds, Report& report)>& measure);

}  // namespace pixelforge::bench
