#pragma once

#include "NSTypes.h"

#include <string>
#include <string_view>

namespace tq {

/// The UTF-8 text of JSON in any of its encodings: UTF-8, UTF-16 or UTF-32, told apart by a byte-order mark or by where
/// the zero bytes are. The mark is left out.
/// @param storage holds the text where it had to be decoded.
/// @returns absent for what is broken UTF-16 or UTF-32. What seems to be UTF-8 is not looked at further.
std::optional<std::string_view> utf8OfJSON(std::string_view data, std::string& storage);

} // namespace tq
