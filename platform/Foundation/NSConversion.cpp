#include "NSConversion.h"

#include <cmath>

namespace tq {

namespace {

bool isOfKind(const boost::json::value& value, JSONKind kind)
{
    switch (kind) {
    case JSONKind::Integer: {
        // What lies beyond all integers has no fraction either.
        const auto* number = value.if_double();
        return number ? std::trunc(*number) == *number : value.is_number();
    }
    case JSONKind::Number:
        return value.is_number();
    case JSONKind::Truth:
        return value.is_bool();
    case JSONKind::Text:
        return value.is_string();
    case JSONKind::List:
        return value.is_array();
    case JSONKind::Map:
        return value.is_object();
    case JSONKind::Other:
        return true;
    }
    return true;
}

const char* nameOf(JSONKind kind)
{
    switch (kind) {
    case JSONKind::Integer:
        return "an integer";
    case JSONKind::Number:
        return "a number";
    case JSONKind::Truth:
        return "true or false";
    case JSONKind::Text:
        return "a text";
    case JSONKind::List:
        return "a list";
    case JSONKind::Map:
        return "a map";
    case JSONKind::Other:
        break;
    }
    return "of the right form";
}

} // namespace

std::string mismatchText(std::string_view what, JSONKind expected, const boost::json::value& value)
{
    std::string text(what);
    if (value.is_null())
        return text += " is missing";
    if (!isOfKind(value, expected))
        return text.append(" is not ").append(nameOf(expected));
    const bool isNumber = expected == JSONKind::Integer || expected == JSONKind::Number;
    return text += isNumber ? " is out of range" : " is not of the right form";
}

std::string countMismatchText(std::size_t count) { return "the argument is not a list of " + std::to_string(count); }

} // namespace tq
