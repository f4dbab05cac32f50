#include "Growth.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>

namespace tq::bench {

namespace {

constexpr double kWidth = 560;
constexpr double kHeight = 360;
constexpr double kLeft = 80;
constexpr double kBottom = 50;
constexpr double kTop = 40;
constexpr double kRight = 20;

/// Powers of ten.
struct Scale {
    int from;
    int to;

    /// Those around the values.
    static Scale around(double least, double most)
    {
        const int from = static_cast<int>(std::floor(std::log10(least)));
        return { from, std::max(from + 1, static_cast<int>(std::ceil(std::log10(most)))) };
    }
    double part(double value) const { return (std::log10(value) - from) / (to - from); }
};

double xOf(const Scale& scale, double value) { return kLeft + scale.part(value) * (kWidth - kLeft - kRight); }
double yOf(const Scale& scale, double value)
{
    return kHeight - kBottom - scale.part(value) * (kHeight - kBottom - kTop);
}

std::string number(double value)
{
    std::ostringstream text;
    if (value >= 100)
        text << std::fixed << std::setprecision(0) << value;
    else
        text << std::setprecision(3) << value;
    return text.str();
}

std::string textAt(double x, double y, const char* anchor, const std::string& content, const char* more = "")
{
    std::ostringstream text;
    text << "<text x=\"" << x << "\" y=\"" << y << "\" text-anchor=\"" << anchor << "\" " << more << ">" << content
         << "</text>\n";
    return text.str();
}

} // namespace

std::string plotOf(const Curve& curve)
{
    const auto [leastX, mostX] = std::ranges::minmax_element(curve.points);
    const auto byCost = [](const auto& point) { return point.second; };
    const auto [leastY, mostY] = std::ranges::minmax_element(curve.points, {}, byCost);
    const auto xScale = Scale::around(leastX->first, mostX->first);
    const auto yScale = Scale::around(leastY->second, mostY->second);
    std::ostringstream svg;
    svg << "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " << kWidth << " " << kHeight
        << "\" font-family=\"sans-serif\" font-size=\"12\">\n<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n";
    svg << textAt(kWidth / 2, 20, "middle", curve.title, "font-weight=\"bold\"")
        << textAt(kWidth / 2, kHeight - 10, "middle", curve.xLabel)
        << textAt(16, kHeight / 2, "middle", curve.yLabel, "transform=\"rotate(-90 16 180)\"");
    for (int power = xScale.from; power <= xScale.to; ++power) {
        const double x = xOf(xScale, std::pow(10, power));
        svg << "<path d=\"M" << x << " " << kTop << "V" << kHeight - kBottom << "\" stroke=\"#ddd\"/>\n"
            << textAt(x, kHeight - kBottom + 16, "middle", number(std::pow(10, power)));
    }
    for (int power = yScale.from; power <= yScale.to; ++power) {
        const double y = yOf(yScale, std::pow(10, power));
        svg << "<path d=\"M" << kLeft << " " << y << "H" << kWidth - kRight << "\" stroke=\"#ddd\"/>\n"
            << textAt(kLeft - 6, y + 4, "end", number(std::pow(10, power)));
    }
    svg << "<polyline fill=\"none\" stroke=\"#1971c2\" stroke-width=\"2\" points=\"";
    for (const auto& [x, y] : curve.points)
        svg << xOf(xScale, x) << "," << yOf(yScale, y) << " ";
    svg << "\"/>\n";
    for (const auto& [x, y] : curve.points)
        svg << "<circle cx=\"" << xOf(xScale, x) << "\" cy=\"" << yOf(yScale, y) << "\" r=\"3\" fill=\"#1971c2\"/>\n"
            << textAt(xOf(xScale, x), yOf(yScale, y) - 8, "middle", number(y), "font-size=\"10\"");
    svg << "</svg>\n";
    return svg.str();
}

} // namespace tq::bench
