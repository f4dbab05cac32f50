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

Benchmark compare(std::string name, std::string baselineName, double limit, int operations, const Block& subject,
    const Block& baseline, int rounds)
{
    subject();
    baseline();
    std::vector<double> ratios;
    std::vector<double> subjectTimes;
    std::vector<double> baselineTimes;
    for (int round = 0; round < rounds; ++round) {
        Seconds ours{};
        Seconds theirs{};
        if (round % 2 == 0) {
            ours = subject();
            theirs = baseline();
        } else {
            theirs = baseline();
            ours = subject();
        }
        ratios.push_back(ours / theirs);
        subjectTimes.push_back(ours.count() / operations);
        baselineTimes.push_back(theirs.count() / operations);
    }
    return { .name = std::move(name),
        .baseline = std::move(baselineName),
        .limit = limit,
        .median = quantile(ratios, 0.5),
        .low = quantile(ratios, 0.25),
        .high = quantile(ratios, 0.75),
        .rounds = rounds,
        .subjectTime = Seconds(quantile(subjectTimes, 0.5)),
        .baselineTime = Seconds(quantile(baselineTimes, 0.5)),
        .unit = "us",
        .note = {} };
}

} // namespace tq::bench
