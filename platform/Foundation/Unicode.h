#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tq {

/// Whether the bytes are UTF-8 as RFC 3629 has it.
bool isUTF8(std::string_view bytes);

/// The length of the character that a text, which is not empty, begins with; 0 where it begins with none.
std::size_t sequenceLength(std::string_view text);

/// Takes the first character off a text that is not empty: U+FFFD for a byte that is part of none.
char32_t takeCharacter(std::string_view& text);

/// Writes a character as UTF-8, in four bytes at the most.
/// @returns the end of what it has written.
char* writeCharacter(char* out, char32_t character);

/// Appends a character as UTF-8.
void appendCharacter(std::string& text, char32_t character);

/// The first and the last of a row of characters.
struct CharacterRange {
    char32_t first;
    char32_t last;
};

/// Whether a character lies in one of the ranges.
template <class Ranges> bool isIn(const Ranges& ranges, char32_t character)
{
    for (const CharacterRange& range : ranges) {
        if (character >= range.first && character <= range.last)
            return true;
    }
    return false;
}

} // namespace tq
