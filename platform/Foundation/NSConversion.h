#pragma once

#include "Export.h"
#include "NSTypes.h"

#include <boost/json/value_from.hpp>
#include <boost/json/value_to.hpp>
#include <cmath>
#include <concepts>
#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>

// Between JSON and the types of an application, by Boost.JSON's own conversions.

namespace tq {

template <class T> inline constexpr bool kIsOptional = false;
template <class T> inline constexpr bool kIsOptional<std::optional<T>> = true;
template <class T> inline constexpr bool kIsVariant = false;
template <class... Parts> inline constexpr bool kIsVariant<std::variant<Parts...>> = true;
template <class T> inline constexpr bool kIsTuple = false;
template <class... Parts> inline constexpr bool kIsTuple<std::tuple<Parts...>> = true;
template <class First, class Second> inline constexpr bool kIsTuple<std::pair<First, Second>> = true;

template <class T, class... Others>
concept OneOf = (std::same_as<T, Others> || ...);

/// Boost.JSON's own types.
template <class T>
concept JSONType = OneOf<T, boost::json::value, boost::json::array, boost::json::object, boost::json::string>;

template <class T>
concept HasConversionFromJSON = requires(const boost::json::value& value)
{
    tag_invoke(boost::json::value_to_tag<T>(), value);
}
|| requires(const boost::json::value& value) { tag_invoke(boost::json::try_value_to_tag<T>(), value); };

template <class T>
concept HasConversionToJSON = requires(boost::json::value& value, T&& object)
{
    tag_invoke(boost::json::value_from_tag(), value, std::forward<T>(object));
};

enum class Direction : bool { FromJSON, ToJSON };

template <class T, Direction direction> consteval bool isConvertible();

template <Direction direction, template <class...> class Of, class... Parts>
consteval bool arePartsConvertible(std::type_identity<Of<Parts...>>)
{
    return (isConvertible<Parts, direction>() && ...);
}

/// Whether there is a conversion of the type and of what it holds; Boost.JSON tells of the type alone. (The members of
/// a described class are left to the compiler.)
template <class T, Direction direction> consteval bool isConvertible()
{
    constexpr bool toJSON = direction == Direction::ToJSON;
    using Has = std::conditional_t<toJSON, boost::json::has_value_from<T>, boost::json::has_value_to<T>>;
    constexpr bool isText = boost::json::is_string_like<T>::value;
    constexpr bool isMap = boost::json::is_map_like<T>::value;
    constexpr bool isSequence = boost::json::is_sequence_like<T>::value;
    constexpr bool hasKeys = requires { typename T::mapped_type; };
    constexpr bool isOwn = JSONType<T> || (toJSON ? HasConversionToJSON<T> : HasConversionFromJSON<T>);
    if constexpr (!std::is_object_v<T> || !Has::value)
        return false;
    else if constexpr (kIsOptional<T> || kIsVariant<T> || kIsTuple<T>)
        return arePartsConvertible<direction>(std::type_identity<T>());
    else if constexpr (isOwn || !(isText || isSequence))
        return true;
    else if constexpr (isText)
        return toJSON || std::constructible_from<T, boost::json::string_view>;
    else if constexpr (isMap)
        return isConvertible<typename T::mapped_type, direction>();
    else {
        using Element = std::iter_value_t<decltype(std::begin(std::declval<T&>()))>;
        if constexpr (hasKeys || std::same_as<Element, T>) // keys that are no texts, or several of a kind
            return false;
        else
            return isConvertible<Element, direction>();
    }
}

/// A type that the library makes of a JSON value: numbers, `bool`, texts, `std::optional`, containers, tuples and
/// variants of such, Boost.JSON's own types, classes and enumerations that Boost.Describe describes, and every type
/// with a `tag_invoke(boost::json::value_to_tag<T>, const boost::json::value&)`. A number must fit exactly.
template <class T>
concept JSONReadable = isConvertible<T, Direction::FromJSON>();

/// The same in the other direction; the function is `tag_invoke(boost::json::value_from_tag, boost::json::value&, T)`.
template <class T>
concept JSONWritable = isConvertible<std::remove_cvref_t<T>, Direction::ToJSON>();

/// The kinds of values that a text of a mismatch tells apart.
enum class JSONKind { Integer, Number, Truth, Text, List, Map, Other };

template <class T> consteval JSONKind kindOf()
{
    namespace json = boost::json;
    constexpr bool isOwn = std::same_as<T, json::value> || HasConversionFromJSON<T>;
    constexpr bool isText = json::is_string_like<T>::value || json::is_described_enum<T>::value;
    constexpr bool isMap = json::is_map_like<T>::value || json::is_described_class<T>::value;
    constexpr bool isList = json::is_sequence_like<T>::value || kIsTuple<T>;
    if constexpr (kIsOptional<T>)
        return kindOf<typename T::value_type>();
    else if constexpr (std::same_as<T, bool>)
        return JSONKind::Truth;
    else if constexpr (std::is_integral_v<T>)
        return JSONKind::Integer;
    else if constexpr (std::is_floating_point_v<T>)
        return JSONKind::Number;
    else if constexpr (std::same_as<T, json::string> || (isText && !isOwn))
        return JSONKind::Text;
    else if constexpr (std::same_as<T, json::object> || (isMap && !isOwn))
        return JSONKind::Map;
    else if constexpr (isList && !isOwn)
        return JSONKind::List;
    else
        return JSONKind::Other;
}

/// Says why a value is not what was expected, without its content. @param what names it: "argument 2".
TQWB_EXPORT std::string mismatchText(std::string_view what, JSONKind expected, const boost::json::value& value);
/// The same for what should be a list of so many.
TQWB_EXPORT std::string countMismatchText(std::size_t count);

/// Makes an object of a value; what may be large is moved out of it. A number that is not finite is none.
/// @returns absent when the value is not of that type.
template <JSONReadable T> std::optional<T> readJSON(boost::json::value& value)
{
    if constexpr (std::same_as<T, boost::json::value>)
        return std::optional<T>(std::in_place, std::move(value));
    else if constexpr (std::same_as<T, boost::json::array>)
        return value.is_array() ? std::optional<T>(std::move(value.get_array())) : std::nullopt;
    else if constexpr (std::same_as<T, boost::json::object>)
        return value.is_object() ? std::optional<T>(std::move(value.get_object())) : std::nullopt;
    else if constexpr (std::same_as<T, boost::json::string>)
        return value.is_string() ? std::optional<T>(std::move(value.get_string())) : std::nullopt;
    else if constexpr (kIsOptional<T>) {
        if (value.is_null())
            return std::optional<T>(std::in_place);
        auto present = readJSON<typename T::value_type>(value);
        return present ? std::optional<T>(std::in_place, std::move(*present)) : std::nullopt;
    } else if constexpr (std::is_arithmetic_v<T> && !std::same_as<T, bool>) {
        // What follows comes to the same, by a longer way.
        boost::json::error_code error;
        const auto number = value.to_number<T>(error);
        if constexpr (std::is_floating_point_v<T>)
            return error || !std::isfinite(number) ? std::nullopt : std::optional<T>(number);
        else
            return error ? std::nullopt : std::optional<T>(number);
    } else {
        auto read = boost::json::try_value_to<T>(value);
        return read ? std::optional<T>(std::in_place, std::move(*read)) : std::nullopt;
    }
}

/// Makes a list of objects, one element of each.
template <JSONWritable... Objects> boost::json::array jsonList(Objects&&... objects)
{
    boost::json::array list;
    list.reserve(sizeof...(objects));
    (list.push_back(boost::json::value_from(std::forward<Objects>(objects))), ...);
    return list;
}

/// Makes a value of an object; absent of an absent one.
template <class T> OptionalValue writeJSON(T&& result)
{
    if constexpr (std::integral<std::remove_cvref_t<T>>)
        return OptionalValue(std::in_place, result);
    else if constexpr (kIsOptional<std::remove_cvref_t<T>>) {
        if (!result)
            return std::nullopt;
        return boost::json::value_from(*std::forward<T>(result));
    } else
        return boost::json::value_from(std::forward<T>(result));
}

} // namespace tq
