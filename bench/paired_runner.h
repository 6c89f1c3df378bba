// Times a piece of code against a peer in the same run, and reports the ratios.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace pixelforge::bench {

/// One comparison. Times are medians in milliseconds; the ratio is the median of the rounds' own ratios
/// (subject / peer), so that a slow moment of the machine strikes both sides alike.
struct Comparison {
    std::string subject;
    std::string peer;
    double subjectTime;
    double peerTime;
    double ratio;
    double lowerQuartile;  ///< of the ratios
    double upperQuartile;
    std::optional<double> limit;  ///< highest ratio that is good enough

    bool IsWithinLimit() const { return !limit || ratio <= *limit; }
};

struct Side {
    std::string name;
    std::function<void()> run;
    std::function<void()> prepare = {};  ///< unmeasured, before each run; may be empty
};

/// Runs both sides once unmeasured, then `rounds` times in turn, each round beginning with the other side.
/// Natively by the processor's time, which does not count what other programs take; under Windows, where GL
/// draws on threads of its own, by the wall's.
Comparison Compare(const Side& subject, const Side& peer, int rounds, std::optional<double> limit);

/// The value below which a share of them lies, 0.5 for the median. At least one value is needed.
double Quantile(std::vector<double> values, double share);

/// A time without a peer.
struct Timing {
    std::string subject;
    double median;  ///< milliseconds
};

/// Prints one line for each entry, comparisons under a heading at the first.
class Report {
public:
    void Add(Comparison comparison);
    void Add(Timing timing);

    bool AllWithinLimits() const;

    /// Writes everything as one JSON array, timings last; false when the file cannot be written.
    bool WriteJson(const std::string& path) const;

    /// What a measuring program ends with: 0, 1 when a limit is missed, 2 when the file cannot be written.
    /// A null path writes no file.
    int Finish(const char* path) const;

private:
    std::vector<Comparison> comparisons_;
    std::vector<Timing> timings_;
};

}  // namespace pixelforge::bench
