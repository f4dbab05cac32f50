#include "Figures.h"
#include "Growth.h"
#include "Toolkit.h"

#include <array>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace tq::bench;

using Group = std::pair<std::string_view, std::vector<Figure> (*)()>;

constexpr std::array<Group, 8> kGroups{ {
    { "page-call", pageCallFigures },
    { "dispatch", dispatchFigures },
    { "stream", streamFigures },
    { "escape", escapeFigures },
    { "native-call", nativeCallFigures },
    { "start", startFigures },
    { "join", joinFigures },
    { "memory", memoryFigures },
} };

// In the figure's own unit, one operation.
double inUnit(const Figure& figure, Seconds time) { return time.count() * (figure.unit == "us" ? 1e6 : 1); }

void print(const Figure& figure)
{
    std::printf("%-42s %6.3f  (%.3f to %.3f, %d rounds)  at most %.2f  %-7s %.6g %s against %.6g %s\n",
        figure.name.c_str(), figure.median, figure.low, figure.high, figure.rounds, figure.limit,
        figure.isMet() ? "met" : "NOT MET", inUnit(figure, figure.subjectTime), figure.unit.c_str(),
        inUnit(figure, figure.baselineTime), figure.note.c_str());
    std::fflush(stdout);
}

boost::json::object toJSON(const Figure& figure)
{
    return { { "figure", figure.name }, { "against", figure.baseline }, { "ratio", figure.median },
        { "lowerQuartile", figure.low }, { "upperQuartile", figure.high }, { "rounds", figure.rounds },
        { "atMost", figure.limit }, { "met", figure.isMet() }, { "unit", figure.unit },
        { "subject", inUnit(figure, figure.subjectTime) }, { "baseline", inUnit(figure, figure.baselineTime) },
        { "note", figure.note } };
}

boost::json::object toJSON(const Curve& curve)
{
    boost::json::array points;
    for (const auto& [x, y] : curve.points)
        points.push_back(boost::json::array{ x, y });
    return { { "title", curve.title }, { "x", curve.xLabel }, { "y", curve.yLabel }, { "points", std::move(points) } };
}

boost::json::array measureGrowth(const std::filesystem::path& folder)
{
    boost::json::array curves;
    for (const auto measure :
        { growthWithPayload, growthWithPending, growthWithNamespaces, growthWithMethods, growthWithViews }) {
        const auto curve = measure();
        std::ofstream(folder / (curve.file + ".svg")) << plotOf(curve);
        curves.push_back(toJSON(curve));
        std::printf("%s: %s\n", curve.title.c_str(), (folder / (curve.file + ".svg")).c_str());
        std::fflush(stdout);
    }
    return curves;
}

} // namespace

// usage: tqwb_bench FOLDER [GROUP|growth]: measures, prints a table, and leaves it in the folder as JSON.
int main(int argc, char** argv)
{
    if (argc < 2 || argc > 3) {
        std::cerr << "usage: tqwb_bench FOLDER [GROUP]\n";
        return 2;
    }
    startToolkit();
    const std::filesystem::path folder = argv[1];
    const std::string_view only = argc > 2 ? argv[2] : "";
    std::filesystem::create_directories(folder);
    boost::json::array figures;
    for (const auto& [name, measure] : kGroups) {
        if (!only.empty() && only != name)
            continue;
        for (const auto& figure : measure()) {
            print(figure);
            figures.push_back(toJSON(figure));
        }
    }
    boost::json::object report{ { "figures", std::move(figures) } };
    if (only.empty() || only == "growth")
        report["growth"] = measureGrowth(folder);
    if (only.empty())
        std::ofstream(folder / "results.json") << boost::json::serialize(report) << "\n";
    return 0;
}
