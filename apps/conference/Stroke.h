#pragma once

#include <boost/json.hpp>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tq::conference {

/// One line on the board. (uid, id) names it within its room.
struct Stroke {
    static constexpr std::size_t s_mostPoints = 4096;
    static constexpr std::int64_t s_widest = 60;

    std::string uid;
    std::int64_t id = 0;
    std::string color;
    std::int64_t width = 1; ///< thousandths of the board's width
    std::vector<double> points; ///< x, y, x, y, ...: 0 to 1 from left to right and from top to bottom

    static bool isColor(std::string_view);

    boost::json::object toJson() const;
};

} // namespace tq::conference
