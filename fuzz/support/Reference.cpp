#include "Reference.h"

#include <algorithm>
#include <array>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace tq::fuzz {

bool isPlainlyUTF8(std::string_view bytes)
{
    // The least character that needs so many bytes beside the first.
    constexpr std::array<std::uint32_t, 4> kLeast{ 0, 0x80, 0x800, 0x10000 };
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        const std::uint32_t lead = static_cast<std::uint8_t>(bytes[index]);
        if (lead < 0x80)
            continue;
        const std::size_t more = lead >= 0xF8 ? 0 : lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC0 ? 1 : 0;
        if (!more || bytes.size() - index <= more)
            return false;
        std::uint32_t character = lead & (0x3FU >> more);
        for (std::size_t count = 0; count < more; ++count) {
            const std::uint32_t byte = static_cast<std::uint8_t>(bytes[++index]);
            if ((byte & 0xC0U) != 0x80U)
                return false;
            character = character << 6U | (byte & 0x3FU);
        }
        if (character < kLeast[more] || character > 0x10FFFF || (character >= 0xD800 && character <= 0xDFFF))
            return false;
    }
    return true;
}

std::optional<std::string> decodeURIComponent(std::string_view text)
{
    std::string decoded;
    for (std::size_t index = 0; index < text.size(); ++index) {
        decoded += text[index];
        if (text[index] != '%')
            continue;
        const auto digits = text.substr(index + 1, 2);
        std::uint8_t byte = 0;
        const auto end = std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16).ptr;
        if (end - digits.data() != 2)
            return std::nullopt;
        decoded.back() = static_cast<char>(byte);
        index += 2;
    }
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
