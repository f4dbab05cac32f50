#pragma once

#include "platform/Foundation/NSTypes.h"

#include <optional>
#include <string>
#include <string_view>

namespace tq::fuzz {

// Plain readings that the library's quick ones are held against.

/// Whether the bytes are UTF-8: every character is decoded and has to be the shortest form of a character.
bool isPlainlyUTF8(std::string_view bytes);

/// What the page's `decodeURIComponent` makes of a text; absent where it throws.
std::optional<std::string> decodeURIComponent(std::string_view text);

/// Whether two values are equal. Numbers with a fraction may differ in the last place: the parser does not round every
/// text to the nearest number. Whole numbers are alike however they are held, 3.0 and 3. No number is alike to no
/// number.
bool areAlike(const boost::json::value& left, const boost::json::value& right);

/// Whether a number of the value is not finite: the parser reads one that is too large as infinite, and 0e9999 as no
/// number at all.
bool hasNonFinite(const boost::json::value& value);

} // namespace tq::fuzz
