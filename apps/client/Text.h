#pragma once

#include "platform/Foundation/NSTypes.h"

#include <boost/json/value.hpp>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

namespace tqclient {

/// The text with what is no UTF-8 replaced.
std::string validUtf8(std::string_view text);

/// The text fit for one line on the screen: valid UTF-8, blanks for what breaks lines or turns text around, and an
/// ellipsis in place of what exceeds so many bytes.
std::string displayText(std::string_view text, std::size_t limit);

/// Whether there is a number that is not finite, which a JSON text cannot hold; it comes from one that is too large.
bool holdsNonFinite(const boost::json::value& value);

/// The first word, and what follows it without the blanks around it.
std::pair<std::string_view, std::string_view> splitWord(std::string_view text);

/// "code: text", or the code alone when the text is absent or empty.
std::string describeFailure(std::string code, const tq::OptionalText& text);

} // namespace tqclient
