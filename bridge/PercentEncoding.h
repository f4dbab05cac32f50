#pragma once

#include <string>
#include <string_view>

namespace tq {

/// Escapes a UTF-8 text so that it may stand in a string literal of a script, between double quotes, and the page's
/// `decodeURIComponent` gives it back exactly.
/// @returns empty when the text is not UTF-8.
std::string percentEncoded(std::string_view text);

} // namespace tq
