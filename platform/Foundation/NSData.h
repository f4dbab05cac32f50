#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tq {

/// The bytes of a base64 text. Characters outside the alphabet are skipped.
/// @returns absent when what is left is no base64: a length that does not come out, padding in the middle.
std::optional<std::string> bytesFromBase64(std::string_view text);

} // namespace tq
