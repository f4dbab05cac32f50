#pragma once

#include <string>
#include <utility>
#include <vector>

namespace tq::bench {

/// How a cost grows with a size.
struct Curve {
    /// The name of its file, and its title.
    std::string file;
    std::string title;
    std::string xLabel;
    std::string yLabel;
    std::vector<std::pair<double, double>> points;
};

/// The time of a page call against the size of its argument.
Curve growthWithPayload();
/// The time of a result against the number of calls that wait for theirs.
Curve growthWithPending();
/// The time of a dispatch against the number of namespaces, and against the number of methods of an object.
Curve growthWithNamespaces();
Curve growthWithMethods();
/// The time of a page call against the number of views.
Curve growthWithViews();

/// The curve as an SVG picture, both scales logarithmic.
std::string plotOf(const Curve& curve);

} // namespace tq::bench
