#include "Reference.h"

#include "platform/Foundation/Releaser.h"

#include <algorithm>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <cmath>
#include <glib.h>
#include <memory>

namespace tq::fuzz {

bool isPlainlyUTF8(std::string_view bytes)
{
    // For GLib a zero is the end.
    std::string text(bytes);
    std::ranges::replace(text, '\0', ' ');
    return g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr);
}

std::optional<std::string> decodeURIComponent(std::string_view text)
{
    const std::unique_ptr<GBytes, Releaser<g_bytes_unref>> bytes(
        g_uri_unescape_bytes(text.data(), static_cast<gssize>(text.size()), nullptr, nullptr));
    if (!bytes)
        return std::nullopt;
    gsize size = 0;
    const auto* begin = static_cast<const char*>(g_bytes_get_data(bytes.get(), &size));
    const std::string decoded(begin, begin + size);
    return isPlainlyUTF8(decoded) ? std::optional(decoded) : std::nullopt;
}

bool areAlike(const boost::json::value& left, const boost::json::value& right)
{
    if (left.is_number() && right.is_number() && (left.is_double() || right.is_double())) {
        constexpr double kLastPlaces = 1e-15;
        const auto one = left.to_number<double>();
        const auto other = right.to_number<double>();
        return one == other || (std::isnan(one) && std::isnan(other))
            || std::abs(one - other) <= kLastPlaces * std::max(std::abs(one), std::abs(other));
    }
    if (left.is_array() && right.is_array())
        return std::ranges::equal(left.get_array(), right.get_array(), areAlike);
    if (left.is_object() && right.is_object())
        return left.get_object().size() == right.get_object().size()
            && std::ranges::all_of(left.get_object(), [&](const auto& member) {
                   const auto* other = right.get_object().if_contains(member.key());
                   return other && areAlike(member.value(), *other);
               });
    return left == right;
}

bool hasNonFinite(const boost::json::value& value)
{
    if (const auto* number = value.if_double())
        return !std::isfinite(*number);
    if (const auto* list = value.if_array())
        return std::ranges::any_of(*list, hasNonFinite);
    const auto* map = value.if_object();
    return map && std::ranges::any_of(*map, [](const auto& member) { return hasNonFinite(member.value()); });
}

} // namespace tq::fuzz
