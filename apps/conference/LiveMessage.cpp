#include "LiveMessage.h"

#include "JoinRequest.h"
#include "ObjectReader.h"
#include "Stroke.h"

#include <cmath>

namespace tq::conference {

namespace {

constexpr std::int64_t s_largestId = INT32_MAX;

std::vector<double> pointsOf(ObjectReader& reader)
{
    std::vector<double> points;
    const auto* const array = reader.value("points").if_array();
    bool right = array && !array->empty() && array->size() % 2 == 0 && array->size() <= 2 * LiveMessage::s_mostPoints;
    if (right) {
        points.reserve(array->size());
        for (const auto& value : *array) {
            const double number = value.is_number() ? value.to_number<double>() : -1;
            right = right && std::isfinite(number) && number >= 0 && number <= 1;
            points.push_back(number);
        }
    }
    if (!right)
        reader.fail("points", "1 to 1024 pairs of numbers from 0 to 1");
    return points;
}

LiveMessage::Any beginOf(ObjectReader& reader)
{
    LiveMessage::Begin begin;
    begin.id = reader.integer("id", 1, s_largestId);
    begin.color = reader.text("color", 1, 16);
    if (!Stroke::isColor(begin.color))
        reader.fail("color", "a colour of the palette");
    begin.width = reader.integer("width", 1, Stroke::s_widest);
    begin.points = pointsOf(reader);
    return begin;
}

LiveMessage::Any pointsMessageOf(ObjectReader& reader)
{
    LiveMessage::Points points;
    points.id = reader.integer("id", 1, s_largestId);
    points.points = pointsOf(reader);
    return points;
}

LiveMessage::Any roleOf(ObjectReader& reader)
{
    LiveMessage::ChangeRole change{ reader.text("uid", 1, JoinRequest::s_longestUid), Role::Viewer };
    if (const auto role = roleNamed(reader.text("role", 1, 16)))
        change.role = *role;
    else
        reader.fail("role", "presenter or viewer");
    return change;
}

LiveMessage::Any read(ObjectReader& reader)
{
    const auto type = reader.text("type", 1, 16);
    if (type == "begin")
        return beginOf(reader);
    if (type == "points")
        return pointsMessageOf(reader);
    if (type == "end")
        return LiveMessage::End{ reader.integer("id", 1, s_largestId) };
    if (type == "undo")
        return LiveMessage::Undo{};
    if (type == "clear")
        return LiveMessage::Clear{};
    if (type == "record")
        return LiveMessage::Record{ reader.boolean("on") };
    if (type == "role")
        return roleOf(reader);
    reader.fail("type", "one that this service knows");
    return LiveMessage::Fault{};
}

} // namespace

LiveMessage::Any LiveMessage::parse(std::string_view text)
{
    boost::json::error_code error;
    const auto value = boost::json::parse({ text.data(), text.size() }, error);
    if (error)
        return Fault{ "the message is not JSON" };
    ObjectReader reader(value, "");
    auto message = read(reader);
    if (auto fault = reader.finish())
        return Fault{ std::move(*fault) };
    return message;
}

} // namespace tq::conference
