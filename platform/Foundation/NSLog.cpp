#include "NSLog.h"

#include "JSONWriter.h"
#include "LogHandler.h"
#include "Unicode.h"

#include <algorithm>
#include <array>

namespace tq {

namespace {

// Bytes of a value that are written.
constexpr std::size_t kMostLogged = 4096;
constexpr std::string_view kCut = "… (cut)";

// Controls, what else breaks lines, and what turns the direction of a text.
bool isObeyed(char32_t code)
{
    constexpr auto kRanges = std::to_array<CharacterRange>({ { 0, 0x1F }, { 0x7F, 0x9F }, { 0x061C, 0x061C },
        { 0x200E, 0x200F }, { 0x2028, 0x202E }, { 0x2066, 0x2069 } });
    return isIn(kRanges, code);
}

void appendEscape(std::string& text, char32_t code)
{
    constexpr std::string_view kNamed = "\b\t\n\f\r";
    constexpr std::string_view kNames = "btnfr";
    constexpr std::string_view kDigits = "0123456789abcdef";
    text += '\\';
    if (const auto place = code < 0x20 ? kNamed.find(static_cast<char>(code)) : kNamed.npos; place != kNamed.npos) {
        text += kNames[place];
        return;
    }
    text += 'u';
    for (const unsigned shift : { 12U, 8U, 4U, 0U })
        text += kDigits[code >> shift & 0xFU];
}

void write(TQWBLogLevel level, const std::string& line)
{
    if (!giveToLogHandler(level, line))
        writeLogLine(line);
}

} // namespace

void NSLog(TQWBLogLevel level, std::string_view line) { write(level, logged(line)); }

void NSLog(TQWBLogLevel level, std::string_view before, std::string_view value, std::string_view after)
{
    write(level, std::string(before).append(logged(value)).append(after));
}

std::string logged(std::string_view text)
{
    std::string line;
    line.reserve(std::min(text.size(), kMostLogged) + kCut.size());
    while (!text.empty()) {
        if (line.size() >= kMostLogged)
            return line.append(kCut);
        const auto character = takeCharacter(text);
        if (isObeyed(character))
            appendEscape(line, character);
        else
            appendCharacter(line, character);
    }
    return line;
}

std::string logged(const OptionalValue& value)
{
    if (const auto* text = value ? value->if_string() : nullptr)
        return logged(std::string_view(*text));
    return value ? logged(writtenJSON(*value, kMostLogged)) : std::string(kAbsentText);
}

std::string describe(const OptionalValue& value)
{
    if (!value)
        return std::string(kAbsentText);
    if (const auto* text = value->if_string())
        return std::string(*text);
    return writtenJSON(*value);
}

} // namespace tq
