#include "NSNumberReading.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

namespace tq {

namespace {

constexpr auto kSmallest = std::numeric_limits<std::int64_t>::min();
constexpr auto kLargest = std::numeric_limits<std::int64_t>::max();

std::string_view withoutLeadingBlanks(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
    return text;
}

std::int64_t readText(std::string_view text)
{
    text = withoutLeadingBlanks(text);
    const bool isNegative = text.starts_with('-');
    if (text.starts_with('+') && text.size() > 1 && text[1] != '-')
        text.remove_prefix(1);
    std::int64_t number = 0;
    const auto outcome = std::from_chars(text.data(), text.data() + text.size(), number);
    if (outcome.ec == std::errc::result_out_of_range)
        return isNegative ? kSmallest : kLargest;
    return outcome.ec == std::errc{} ? number : 0;
}

std::int64_t readDouble(double number)
{
    if (std::isnan(number))
        return 0;
    // 2 to the 63rd, which a double holds exactly while the largest integer is rounded up to it.
    constexpr double kLimit = 9223372036854775808.0;
    if (number >= kLimit)
        return kLargest;
    return number < -kLimit ? kSmallest : static_cast<std::int64_t>(number);
}

template <class Integer> Integer clamped(std::int64_t number)
{
    using Limits = std::numeric_limits<Integer>;
    return static_cast<Integer>(
        std::clamp<std::int64_t>(number, std::int64_t{ Limits::min() }, std::int64_t{ Limits::max() }));
}

} // namespace

const boost::json::value* memberOf(const boost::json::value& value, std::string_view key)
{
    const auto* map = value.if_object();
    return map ? map->if_contains({ key.data(), key.size() }) : nullptr;
}

const boost::json::value* memberOf(const OptionalValue& value, std::string_view key)
{
    return value ? memberOf(*value, key) : nullptr;
}

OptionalText textValue(const boost::json::value* value)
{
    const auto* text = value ? value->if_string() : nullptr;
    return text ? OptionalText(std::in_place, text->data(), text->size()) : std::nullopt;
}

std::int64_t longLongValue(const boost::json::value* value)
{
    if (!value)
        return 0;
    switch (value->kind()) {
    case boost::json::kind::int64:
        return value->get_int64();
    case boost::json::kind::uint64:
        return static_cast<std::int64_t>(std::min(value->get_uint64(), static_cast<std::uint64_t>(kLargest)));
    case boost::json::kind::double_:
        return readDouble(value->get_double());
    case boost::json::kind::bool_:
        return value->get_bool() ? 1 : 0;
    case boost::json::kind::string:
        return readText(value->get_string());
    default:
        return 0;
    }
}

std::optional<std::int64_t> wholeNumber(const boost::json::value* value)
{
    if (!value || !value->is_number())
        return std::nullopt;
    boost::json::error_code error;
    const auto number = value->to_number<std::int64_t>(error);
    return error ? std::nullopt : std::optional(number);
}

std::int32_t intValue(const boost::json::value* value) { return clamped<std::int32_t>(longLongValue(value)); }

NSInteger integerValue(const boost::json::value* value) { return clamped<NSInteger>(longLongValue(value)); }

bool boolValue(const boost::json::value* value)
{
    if (const auto* text = value ? value->if_string() : nullptr) {
        auto rest = withoutLeadingBlanks(*text);
        rest.remove_prefix(rest.starts_with('-') || rest.starts_with('+') ? 1 : 0);
        rest.remove_prefix(std::min(rest.find_first_not_of('0'), rest.size()));
        return !rest.empty() && std::string_view("YyTt123456789").find(rest.front()) != std::string_view::npos;
    }
    if (const auto* number = value ? value->if_double() : nullptr)
        return *number != 0;
    return longLongValue(value) != 0;
}

} // namespace tq
