#include "ShownText.h"

#include "../gtk/GLibPointers.h"

#include <algorithm>
#include <utility>

namespace tq {

namespace {

constexpr gunichar kJoiner = 0x200D;
constexpr gunichar kNonJoiner = 0x200C;
constexpr gunichar kUnreadable = 0xFFFD;

// Of one letter; no language has more, and the layout takes a time that grows with their square.
constexpr int kMostMarks = 8;
// Of pictures into one.
constexpr int kMostJoins = 8;
// The layout of a text without blanks takes a time that grows with its square.
constexpr std::size_t kLongestWord = 50;
// One after the other; the layout of those at the end of a line takes a time that grows with their square.
constexpr int kMostBlanks = 8;
// The first character of another script counts as so many, since it begins a piece that is laid out by itself.
constexpr std::size_t kCostOfScript = 6;
// What is left out does not count as shown, but it is read.
constexpr std::size_t kMostBytesRead = 16;

enum class Lines { Many, One };

bool isLineBreak(gunichar character)
{
    return (character >= '\n' && character <= '\r') || character == 0x85 || character == 0x2028 || character == 0x2029;
}

// Neither seen nor of use to a reader, or a change of the direction of what follows.
bool isInvisible(gunichar character)
{
    if (g_unichar_type(character) != G_UNICODE_FORMAT || character == kJoiner || character == kNonJoiner)
        return false;
    // The signs of years, verses and numbers are seen.
    const bool isArabicSign = character >= 0x600 && character < 0x900 && character != 0x61C;
    return !isArabicSign;
}

bool isMark(gunichar character)
{
    const bool isSkinTone = character >= 0x1F3FB && character <= 0x1F3FF;
    return g_unichar_ismark(character) || isSkinTone;
}

// Takes a text character by character, and keeps what can be shown.
class Shown {
public:
    explicit Shown(Lines lines)
        : m_lines(lines)
    {
    }

    void take(gunichar character)
    {
        const bool isSecondOfTwo = m_taken == '\r' && character == '\n';
        m_taken = character;
        if (!isSecondOfTwo && !isInvisible(character) && canFollow(character))
            append(readable(character));
    }
    /// In a word that has become too long, if no letter is taken apart.
    bool isAtPlaceToBreak(gunichar next) const
    {
        return m_wordLength >= kLongestWord && m_previous != kJoiner && m_previous != kNonJoiner && next != kJoiner
            && next != kNonJoiner && !isMark(next);
    }
    void breakWord()
    {
        text += "\u200B";
        m_wordLength = 0;
    }

    std::string text;
    std::size_t cost = 0;
    std::size_t lines = 1;

private:
    gunichar readable(gunichar character) const
    {
        if (isLineBreak(character))
            return m_lines == Lines::Many ? '\n' : ' ';
        if (character == '\t')
            return ' ';
        const bool isForObjects = character == 0xFFFC;
        return g_unichar_type(character) == G_UNICODE_CONTROL || isForObjects ? kUnreadable : character;
    }
    bool canFollow(gunichar character)
    {
        const bool isJoined = m_previous == kJoiner;
        if (character == kJoiner || character == kNonJoiner)
            return !isJoined && m_previous != kNonJoiner && ++m_joins <= kMostJoins;
        if (isMark(character))
            return ++m_marks <= kMostMarks;
        m_marks = 0;
        m_joins = isJoined ? m_joins : 0;
        m_blanks = g_unichar_isspace(character) && !isLineBreak(character) ? m_blanks + 1 : 0;
        return m_blanks <= kMostBlanks;
    }
    // Whether it is written with the font of what is before it, as far as that can be told.
    bool isOfSameScript(gunichar character)
    {
        constexpr gunichar kAscii = 0x80;
        if (g_unichar_isspace(character) || isMark(character))
            return true;
        const auto script = character < kAscii ? G_UNICODE_SCRIPT_LATIN : g_unichar_get_script(character);
        return std::exchange(m_script, script) == script;
    }
    void append(gunichar character)
    {
        char bytes[6];
        text.append(bytes, static_cast<std::size_t>(g_unichar_to_utf8(character, bytes)));
        m_previous = character;
        m_wordLength = g_unichar_isspace(character) ? 0 : m_wordLength + 1;
        cost += isOfSameScript(character) ? 1 : kCostOfScript;
        if (character == '\n')
            ++lines;
    }

    Lines m_lines;
    gunichar m_taken = 0;
    gunichar m_previous = 0;
    int m_marks = 0;
    int m_joins = 0;
    int m_blanks = 0;
    GUnicodeScript m_script = G_UNICODE_SCRIPT_LATIN;
    std::size_t m_wordLength = 0;
};

GCharPointer beginningOf(std::string_view text, std::size_t bytes)
{
    // Not in the middle of a character.
    while (bytes < text.size() && bytes > 0 && (static_cast<unsigned char>(text[bytes]) & 0xC0U) == 0x80)
        --bytes;
    return GCharPointer(g_utf8_make_valid(text.data(), static_cast<gssize>(std::min(text.size(), bytes))));
}

} // namespace

std::string shownText(std::string_view text, TextLimits limits)
{
    const auto bytes = kMostBytesRead * limits.characters;
    const auto valid = beginningOf(text, bytes);
    Shown shown(limits.lines == 1 ? Lines::One : Lines::Many);
    for (const char* at = valid.get(); *at; at = g_utf8_next_char(at)) {
        const auto character = g_utf8_get_char(at);
        if (shown.cost >= limits.characters
            || (shown.lines == limits.lines && limits.lines > 1 && isLineBreak(character)))
            return shown.text + "…";
        if (shown.isAtPlaceToBreak(character))
            shown.breakWord();
        shown.take(character);
    }
    return text.size() > bytes ? shown.text + "…" : shown.text;
}

std::string fieldText(std::string_view text, std::size_t characters)
{
    const auto valid = beginningOf(text, kMostBytesRead * characters);
    Shown shown(Lines::One);
    for (const char* at = valid.get(); *at && shown.cost < characters; at = g_utf8_next_char(at))
        shown.take(g_utf8_get_char(at));
    return std::move(shown.text);
}

} // namespace tq
