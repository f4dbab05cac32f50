#include "Text.h"

#include "GLibTypes.h"

#include <algorithm>
#include <cmath>

namespace tqclient {

namespace {

constexpr std::string_view kBlanks = " \t\r";

std::string_view trimmed(std::string_view text)
{
    const auto first = text.find_first_not_of(kBlanks);
    return first == text.npos ? std::string_view() : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

/// Whether the character would break the line or turn around the text that follows it.
bool disturbsLine(gunichar character)
{
    switch (g_unichar_type(character)) {
    case G_UNICODE_CONTROL:
    case G_UNICODE_LINE_SEPARATOR:
    case G_UNICODE_PARAGRAPH_SEPARATOR:
        return true;
    default:
        return (character >= 0x202A && character <= 0x202E) || (character >= 0x2066 && character <= 0x2069);
    }
}

} // namespace

std::string validUtf8(std::string_view text)
{
    if (text.empty())
        return {};
    UniqueChars valid(g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())));
    return valid.get();
}

std::string displayText(std::string_view text, std::size_t limit)
{
    bool isCut = text.size() > limit;
    if (isCut) {
        while (limit && (static_cast<unsigned char>(text[limit]) & 0xC0) == 0x80)
            --limit;
    }
    const std::string valid = validUtf8(text.substr(0, limit));
    std::string line;
    const char* end = valid.data() + valid.size();
    for (const char* at = valid.data(); at < end; at = g_utf8_next_char(at)) {
        if (disturbsLine(g_utf8_get_char(at)))
            line += ' ';
        else
            line.append(at, static_cast<std::size_t>(g_utf8_next_char(at) - at));
    }
    return isCut ? line + "…" : line;
}

bool holdsNonFinite(const boost::json::value& value)
{
    if (const auto* list = value.if_array())
        return std::ranges::any_of(*list, holdsNonFinite);
    if (const auto* members = value.if_object())
        return std::ranges::any_of(*members, [](const auto& member) { return holdsNonFinite(member.value()); });
    const auto* number = value.if_double();
    return number && !std::isfinite(*number);
}

std::pair<std::string_view, std::string_view> splitWord(std::string_view text)
{
    text = trimmed(text);
    const auto end = std::min(text.find_first_of(kBlanks), text.size());
    return { text.substr(0, end), trimmed(text.substr(end)) };
}

std::string describeFailure(std::string code, const tq::OptionalText& text)
{
    return text && !text->empty() ? code + ": " + displayText(*text, 500) : code;
}

} // namespace tqclient
