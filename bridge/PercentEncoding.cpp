#include "PercentEncoding.h"

#include "platform/Foundation/Unicode.h"

#include <algorithm>
#include <cstdint>

namespace tq {

namespace {

// What the string literal ends or begins an escape with, what decodeURIComponent does, and the control characters, line
// breaks among them. All else, letters of every script included, may stand as it is.
bool isEscaped(char character)
{
    return static_cast<std::uint8_t>(character) < 0x20 || character == '"' || character == '\\' || character == '%';
}

} // namespace

std::string percentEncoded(std::string_view text)
{
    if (!isUTF8(text))
        return {};
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string encoded;
    encoded.reserve(text.size() + text.size() / 4);
    while (!text.empty()) {
        const auto plain = static_cast<std::size_t>(std::ranges::find_if(text, isEscaped) - text.begin());
        encoded.append(text, 0, plain);
        if (plain == text.size())
            break;
        const auto byte = static_cast<std::uint8_t>(text[plain]);
        encoded += '%';
        encoded += kDigits[byte >> 4U];
        encoded += kDigits[byte & 0xFU];
        text.remove_prefix(plain + 1);
    }
    return encoded;
}

} // namespace tq
