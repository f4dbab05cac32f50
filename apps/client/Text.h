#pragma once

#include "platform/Foundation/NSTypes.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace tqclient {

/// The text with what is no UTF-8 replaced.
std::string validUtf8(std::string_view text);

/// The text fit for one line on the screen: valid UTF-8, blanks for control characters, and an ellipsis in place of
/// what exceeds so many bytes.
std::string displayText(std::string_view text, std::size_t limit);

/// "code: text", or the code alone when the text is absent or empty.
std::string describeFailure(tq::NSUInteger code, const tq::OptionalText& text);

} // namespace tqclient
