#include "NSData.h"

#include <array>
#include <cstdint>

namespace tq {

namespace {

constexpr std::uint8_t kNone = 0xFF;

constexpr std::array<std::uint8_t, 256> makeValues()
{
    std::array<std::uint8_t, 256> values{};
    values.fill(kNone);
    std::uint8_t next = 0;
    for (const char character : std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"))
        values[static_cast<std::uint8_t>(character)] = next++;
    return values;
}

constexpr auto kValues = makeValues();

} // namespace

std::optional<std::string> bytesFromBase64(std::string_view text)
{
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3);
    std::uint32_t group = 0;
    unsigned digits = 0;
    unsigned padding = 0;
    for (const char character : text) {
        if (character == '=') {
            ++padding;
            continue;
        }
        const auto value = kValues[static_cast<std::uint8_t>(character)];
        if (value == kNone)
            continue;
        if (padding)
            return std::nullopt;
        group = group << 6U | value;
        if (++digits % 4 != 0)
            continue;
        for (const unsigned shift : { 16U, 8U, 0U })
            bytes += static_cast<char>(group >> shift & 0xFFU);
        group = 0;
    }
    const unsigned rest = digits % 4;
    if (rest == 1 || (rest + padding) % 4 != 0 || padding > 2)
        return std::nullopt;
    if (rest >= 2)
        bytes += static_cast<char>(group >> (rest == 2 ? 4U : 10U) & 0xFFU);
    if (rest == 3)
        bytes += static_cast<char>(group >> 2U & 0xFFU);
    return bytes;
}

} // namespace tq
