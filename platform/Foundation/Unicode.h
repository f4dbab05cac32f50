#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace tq {

/// Whether the bytes are UTF-8 as RFC 3629 has it.
bool isUTF8(std::string_view bytes);

/// Whether eight bytes, read as a number, begin with two characters of three bytes each, as most letters of most
/// scripts of Asia are. It may say no to some.
inline bool areTwoOfThreeBytes(std::uint64_t word)
{
    // The two leads that have rules of their own are left out.
    if constexpr (std::endian::native != std::endian::little)
        return false;
    const auto first = word & 0xFFU;
    const auto second = word >> 24U & 0xFFU;
    return (word & 0xC0C0F0C0C0F0U) == 0x8080E08080E0U && first != 0xE0 && first != 0xED && second != 0xE0
        && second != 0xED;
}

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
