#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace tq::bench {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

/// One side of a comparison: does its work once and says how long it took.
using Block = std::function<Seconds()>;

/// A benchmark that is compared with a baseline measured in the same sitting.
struct Benchmark {
    std::string name;
    std::string baseline;
    /// What the median ratio must not exceed.
    double limit = 0;
    double median = 0;
    /// The quartiles of the rounds' ratios.
    double low = 0;
    double high = 0;
    int rounds = 0;
    /// The median of one operation, on either side.
    Seconds subjectTime{};
    Seconds baselineTime{};
    /// What the times are given in: microseconds, or what the benchmark says.
    std::string unit = "us";
    /// What else there is to say, for example how many evaluations there were.
    std::string note;

    bool isMet() const { return median <= limit; }
};

/// The value below which so large a part (0 to 1) of the values lies.
double quantile(std::vector<double> values, double part);

/// What the rounds come to.
/// @param operations how many operations one block is.
/// @param subject of each round, and so the baseline.
Benchmark summaryOf(std::string name, std::string baselineName, double limit, int operations,
    const std::vector<Seconds>& subject, const std::vector<Seconds>& baseline);

/// Runs the two sides by turns, the first of a round now this one and now that one, after one round that does not
/// count.
/// @param operations how many operations one block is.
Benchmark compare(std::string name, std::string baselineName, double limit, int operations, const Block& subject,
    const Block& baseline, int rounds = 15);

} // namespace tq::bench
