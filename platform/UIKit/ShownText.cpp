#include "ShownText.h"

#include "../Foundation/Unicode.h"

#include <algorithm>
#include <array>
#include <utility>

namespace tq {

namespace {

constexpr char32_t kJoiner = 0x200D;
constexpr char32_t kNonJoiner = 0x200C;
constexpr char32_t kUnreadable = 0xFFFD;

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
// Of a field.
constexpr std::size_t kMostInField = 1000;

enum class Lines { Many, One };

bool isLineBreak(char32_t character)
{
    return (character >= '\n' && character <= '\r') || character == 0x85 || character == 0x2028 || character == 0x2029;
}

bool isBlank(char32_t character)
{
    constexpr auto kBlanks = std::to_array<CharacterRange>({ { '\t', '\r' }, { ' ', ' ' }, { 0xA0, 0xA0 },
        { 0x1680, 0x1680 }, { 0x2000, 0x200A }, { 0x2028, 0x202F }, { 0x205F, 0x205F }, { 0x3000, 0x3000 } });
    return isIn(kBlanks, character);
}

// Neither seen nor of use to a reader, or a change of the direction of what follows.
bool isInvisible(char32_t character)
{
    constexpr auto kInvisible = std::to_array<CharacterRange>({ { 0xAD, 0xAD }, { 0x61C, 0x61C }, { 0x180E, 0x180E },
        { 0x200B, 0x200B }, { 0x200E, 0x200F }, { 0x202A, 0x202E }, { 0x2060, 0x206F }, { 0xFEFF, 0xFEFF },
        { 0xFFF9, 0xFFFB }, { 0x1BCA0, 0x1BCA3 }, { 0x1D173, 0x1D17A }, { 0xE0000, 0xE007F } });
    return isIn(kInvisible, character);
}

// What is written above, below or within the letter before it, in the scripts of today; a few signs that stand by
// themselves are among them. Skin tones are marks of pictures.
bool isMark(char32_t character)
{
    constexpr auto kMarks = std::to_array<CharacterRange>({ { 0x300, 0x36F }, { 0x483, 0x489 }, { 0x591, 0x5C7 },
        { 0x610, 0x61A }, { 0x64B, 0x65F }, { 0x670, 0x670 }, { 0x6D6, 0x6ED }, { 0x711, 0x711 }, { 0x730, 0x74A },
        { 0x7A6, 0x7B0 }, { 0x7EB, 0x7F3 }, { 0x816, 0x82D }, { 0x898, 0x89F }, { 0x8CA, 0x8FF }, { 0xD81, 0xD83 },
        { 0xDCA, 0xDDF }, { 0xDF2, 0xDF3 }, { 0xE31, 0xE31 }, { 0xE34, 0xE3A }, { 0xE47, 0xE4E }, { 0xEB1, 0xEB1 },
        { 0xEB4, 0xEBC }, { 0xEC8, 0xECE }, { 0xF71, 0xF87 }, { 0xF8D, 0xFBC }, { 0x102B, 0x103E }, { 0x17B4, 0x17D3 },
        { 0x1AB0, 0x1AFF }, { 0x1CD0, 0x1CF9 }, { 0x1DC0, 0x1DFF }, { 0x20D0, 0x20F0 }, { 0x302A, 0x302F },
        { 0x3099, 0x309A }, { 0xFE00, 0xFE2F }, { 0x1F3FB, 0x1F3FF }, { 0xE0100, 0xE01EF } });
    // The scripts of India are encoded alike, in blocks of 128.
    constexpr auto kIndianMarks
        = std::to_array<CharacterRange>({ { 0, 3 }, { 0x3C, 0x3C }, { 0x3E, 0x4F }, { 0x51, 0x57 }, { 0x62, 0x63 } });
    const bool isIndian = character >= 0x900 && character < 0xD80;
    return isIndian ? isIn(kIndianMarks, character & 0x7FU) : isIn(kMarks, character);
}

// The same for the letters of one script, as far as that can be told by where they stand: most take a block of 128.
char32_t scriptOf(char32_t character)
{
    constexpr auto kLarge = std::to_array<CharacterRange>({ { 0, 0x2FF }, { 0x400, 0x52F }, { 0x530, 0x58F },
        { 0x600, 0x6FF }, { 0x1200, 0x139F }, { 0x2E80, 0x303F }, { 0x3040, 0x309F }, { 0x30A0, 0x30FF },
        { 0x3400, 0x9FFF }, { 0xAC00, 0xD7FF }, { 0x1F000, 0x1FAFF }, { 0x20000, 0x3FFFF } });
    const bool isFurtherLatin = character >= 0x1E00 && character <= 0x1EFF;
    for (const auto& range : kLarge) {
        if (character >= range.first && character <= range.last)
            return range.first;
    }
    return isFurtherLatin ? 0 : character & ~char32_t{ 0x7F };
}

// Takes a text character by character, and keeps what can be shown.
class Shown {
public:
    explicit Shown(Lines lines)
        : m_lines(lines)
    {
    }

    void take(char32_t character)
    {
        const bool isSecondOfTwo = m_taken == '\r' && character == '\n';
        m_taken = character;
        if (!isSecondOfTwo && !isInvisible(character) && canFollow(character))
            append(readable(character));
    }
    /// In a word that has become too long, if no letter is taken apart.
    bool isAtPlaceToBreak(char32_t next) const
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
    char32_t readable(char32_t character) const
    {
        if (isLineBreak(character))
            return m_lines == Lines::Many ? '\n' : ' ';
        if (character == '\t')
            return ' ';
        const bool isControl = character < ' ' || (character >= 0x7F && character < 0xA0);
        const bool isForObjects = character == 0xFFFC;
        return isControl || isForObjects ? kUnreadable : character;
    }
    bool canFollow(char32_t character)
    {
        const bool isJoined = m_previous == kJoiner;
        if (character == kJoiner || character == kNonJoiner)
            return !isJoined && m_previous != kNonJoiner && ++m_joins <= kMostJoins;
        if (isMark(character))
            return ++m_marks <= kMostMarks;
        m_marks = 0;
        m_joins = isJoined ? m_joins : 0;
        m_blanks = isBlank(character) && !isLineBreak(character) ? m_blanks + 1 : 0;
        return m_blanks <= kMostBlanks;
    }
    // Whether it is written with the font of what is before it, as far as that can be told.
    bool isOfSameScript(char32_t character)
    {
        if (isBlank(character) || isMark(character))
            return true;
        const auto script = scriptOf(character);
        return std::exchange(m_script, script) == script;
    }
    void append(char32_t character)
    {
        appendCharacter(text, character);
        m_previous = character;
        m_wordLength = isBlank(character) ? 0 : m_wordLength + 1;
        cost += isOfSameScript(character) ? 1 : kCostOfScript;
        if (character == '\n')
            ++lines;
    }

    Lines m_lines;
    char32_t m_taken = 0;
    char32_t m_previous = 0;
    int m_marks = 0;
    int m_joins = 0;
    int m_blanks = 0;
    char32_t m_script = 0;
    std::size_t m_wordLength = 0;
};

// As many bytes as are read for so many characters, and no half of one.
std::string_view beginningOf(std::string_view text, std::size_t characters)
{
    auto bytes = kMostBytesRead * characters;
    while (bytes < text.size() && bytes > 0 && (static_cast<unsigned char>(text[bytes]) & 0xC0U) == 0x80)
        --bytes;
    return text.substr(0, bytes);
}

} // namespace

std::string shownText(std::string_view text, TextLimits limits)
{
    auto rest = beginningOf(text, limits.characters);
    const bool isCut = rest.size() < text.size();
    Shown shown(limits.lines == 1 ? Lines::One : Lines::Many);
    while (!rest.empty()) {
        const auto character = takeCharacter(rest);
        if (shown.cost >= limits.characters
            || (shown.lines == limits.lines && limits.lines > 1 && isLineBreak(character)))
            return shown.text + "…";
        if (shown.isAtPlaceToBreak(character))
            shown.breakWord();
        shown.take(character);
    }
    return isCut ? shown.text + "…" : std::move(shown.text);
}

std::string fieldText(std::string_view text)
{
    auto rest = beginningOf(text, kMostInField);
    Shown shown(Lines::One);
    while (!rest.empty() && shown.cost < kMostInField)
        shown.take(takeCharacter(rest));
    return std::move(shown.text);
}

} // namespace tq
