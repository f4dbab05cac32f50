#include "LiveMessage.h"

#include "ObjectReader.h"
#include "RequestBody.h"
#include "Stroke.h"

namespace tq::conference {

namespace {

std::int64_t idOf(ObjectReader& reader) { return reader.integer("id", 1, INT32_MAX); }

std::vector<double> pointsOf(ObjectReader& reader)
{
    std::vector<double> points;
    const auto* const array = reader.value("points").if_array();
    bool isRight = array && !array->empty() && array->size() % 2 == 0 && array->size() <= 2 * LiveMessage::s_mostPoints;
    for (std::size_t i = 0; isRight && i < array->size(); ++i) {
        const auto& value = array->at(i);
        points.push_back(value.is_number() ? value.to_number<double>() : -1);
        isRight = points.back() >= 0 && points.back() <= 1;
    }
    reader.require(isRight, "points", "1 to 1024 pairs of numbers from 0 to 1");
    return points;
}

LiveMessage::Any beginOf(ObjectReader& reader)
{
    const auto id = idOf(reader);
    auto color = reader.text("color", 1, 16);
    reader.require(Stroke::isColor(color), "color", "a colour of the palette");
    const auto width = reader.integer("width", 1, Stroke::s_widest);
    return LiveMessage::Begin{ id, std::move(color), width, pointsOf(reader) };
}

LiveMessage::Any roleOf(ObjectReader& reader)
{
    auto uid = reader.text("uid", 1, User::s_longestUid);
    const auto role = roleNamed(reader.text("role", 1, 16));
    reader.require(role.has_value(), "role", "presenter or viewer");
    return LiveMessage::ChangeRole{ std::move(uid), *role };
}

LiveMessage::Any read(ObjectReader& reader)
{
    const auto type = reader.text("type", 1, 16);
    if (type == "begin")
        return beginOf(reader);
    if (type == "points") {
        const auto id = idOf(reader);
        return LiveMessage::Points{ id, pointsOf(reader) };
    }
    if (type == "end")
        return LiveMessage::End{ idOf(reader) };
    if (type == "undo")
        return LiveMessage::Undo{};
    if (type == "clear")
        return LiveMessage::Clear{};
    if (type == "record")
        return LiveMessage::Record{ reader.boolean("on") };
    reader.require(type == "role", "type", "one that this service knows");
    return roleOf(reader);
}

} // namespace

LiveMessage::Any LiveMessage::parse(std::string_view text)
{
    const auto value = ObjectReader::parse(text);
    ObjectReader reader(value);
    auto message = read(reader);
    reader.finish();
    return message;
}

} // namespace tq::conference
