#pragma once

#include "NSTypes.h"

#include <string>
#include <string_view>

namespace tq {

/// Reading and writing of JSON texts. Nesting deeper than 512 is an error on both ways.
class NSJSONSerialization {
public:
    static constexpr std::size_t kMaxDepth = 512;

    /// @param data is a text in UTF-8, UTF-16 or UTF-32, with a byte-order mark or without.
    /// @param error receives the parser's message when the text is no JSON; may be null.
    /// @returns the value, a top-level null included; absent after an error.
    static OptionalValue JSONObjectWithData(std::string_view data, std::string* error = nullptr);

    /// The value that a text begins with, which counts as lying one level deep; what follows it is left alone.
    /// @param text is UTF-8. @param length receives how far the value goes, with blanks after it.
    /// @returns absent when it begins with no value.
    static OptionalValue memberAtStart(std::string_view text, std::size_t& length);

    /// Compact JSON text; absent when the value cannot be written: neither a map nor a list at the top, a number that
    /// is not finite, a text that is not UTF-8.
    static OptionalText dataWithJSONObject(const boost::json::value& value);

    /// Appends the compact JSON text of any value, a bare text or number included, to a UTF-8 text.
    /// @returns whether the value could be written; if not, the text is as it was.
    static bool appendJSON(std::string& text, const boost::json::value& value);

    /// The same for a text alone.
    static bool appendText(std::string& text, std::string_view value);

    /// Indented JSON text, one member a line; absent like the compact one.
    static OptionalText prettyDataWithJSONObject(const boost::json::value& value);
};

} // namespace tq
