#include "Measure.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tq::bench {

double quantile(std::vector<double> values, double part)
{
    if (values.empty())
        return 0;
    std::ranges::sort(values);
    const double place = part * static_cast<double>(values.size() - 1);
    const auto below = static_cast<std::size_t>(place);
    const auto above = std::min(below + 1, values.size() - 1);
    return std::lerp(values[below], values[above], place - std::floor(place));
}

Benchmark summaryOf(std::string name, std::string baselineName, double limit, int operations,
    const std::vector<Seconds>& subject, const std::vector<Seconds>& baseline)
{
    std::vector<double> ratios;
    std::vector<double> subjectTimes;
    std::vector<double> baselineTimes;
    for (std::size_t round = 0; round < subject.size(); ++round) {
        ratios.push_back(subject[round] / baseline[round]);
        subjectTimes.push_back(subject[round].count() / operations);
        baselineTimes.push_back(baseline[round].count() / operations);
    }
    return { .name = std::move(name),
        .baseline = std::move(baselineName),
        .limit = limit,
        .median = quantile(ratios, 0.5),
        .low = quantile(ratios, 0.25),
        .high = quantile(ratios, 0.75),
        .rounds = static_cast<int>(ratios.size()),
        .subjectTime = Seconds(quantile(subjectTimes, 0.5)),
        .baselineTime = Seconds(quantile(baselineTimes, 0.5)),
        .unit = "us",
        .note = {} };
}

Benchmark compare(std::string name, std::string baselineName, double limit, int operations, const Block& subject,
    const Block& baseline, int rounds)
{
    subject();
    baseline();
    std::vector<Seconds> ours;
    std::vector<Seconds> theirs;
    for (int round = 0; round < rounds; ++round) {
        if (round % 2 == 0) {
            ours.push_back(subject());
            theirs.push_back(baseline());
        } else {
            theirs.push_back(baseline());
            ours.push_back(subject());
        }
    }
    return summaryOf(std::move(name), std::move(baselineName), limit, operations, ours, theirs);
}

} // namespace tq::bench
