#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tq {

/// How much of a text is shown.
struct TextLimits {
    std::size_t characters;
    std::size_t lines;
};

/// What can be shown of a text that anybody may have written, so that it is laid out soon, takes no more room than its
/// letters and reads as it is written: its beginning, as valid UTF-8. Line breaks of every kind are plain ones, or
/// blanks in a single line, and tabs are blanks. Invisible characters and those that turn the direction of writing go,
/// marks that are heaped on one letter go from the ninth on, and control characters are shown as unreadable ones.
/// A word without end gets invisible places to break it, and a text that is cut ends with "…".
std::string shownText(std::string_view text, TextLimits limits);

/// The same for a field of one line, whose text goes back to who has asked: 1,000 characters, and nothing is added.
std::string fieldText(std::string_view text);

} // namespace tq
