#include "PercentEncoding.h"

#include "platform/Foundation/NSJSONSerialization.h"

#include <array>
#include <cstdint>

namespace tq {

namespace {

constexpr std::array<bool, 256> makeEscapedTable()
{
    std::array<bool, 256> escaped{};
    for (std::size_t byte = 0; byte < escaped.size(); ++byte)
        escaped[byte] = byte <= ' ' || byte >= 0x7F;
    for (const char character : std::string_view("\"#%<>[\\]^`{|}"))
        escaped[static_cast<std::uint8_t>(character)] = true;
    return escaped;
}

constexpr auto kEscaped = makeEscapedTable();

} // namespace

std::string percentEncoded(std::string_view text)
{
    if (!isUTF8(text))
        return {};
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string encoded;
    encoded.reserve(text.size() + text.size() / 4);
    for (const char character : text) {
        const auto byte = static_cast<std::uint8_t>(character);
        if (!kEscaped[byte]) {
            encoded += character;
            continue;
        }
        encoded += '%';
        encoded += kDigits[byte >> 4U];
        encoded += kDigits[byte & 0xFU];
    }
    return encoded;
}

} // namespace tq
