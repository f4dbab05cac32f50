#include "Stroke.h"

#include <algorithm>
#include <array>

namespace tq::conference {

bool Stroke::isColor(std::string_view color)
{
    // "board" rubs out.
    static constexpr std::array<std::string_view, 7> s_palette{ "ink", "red", "orange", "green", "blue", "violet",
        "board" };
    return std::ranges::find(s_palette, color) != s_palette.end();
}

boost::json::object Stroke::toJson() const
{
    return { { "uid", uid }, { "id", id }, { "color", color }, { "width", width },
        { "points", boost::json::array(points.begin(), points.end()) } };
}

} // namespace tq::conference
