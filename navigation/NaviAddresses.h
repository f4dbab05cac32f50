#pragma once

#include "platform/Foundation/NSTypes.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tq {

using TextList = std::vector<std::string>;

/// The pieces between the separators; as many as there are separators, and one more.
TextList componentsSeparatedBy(std::string_view text, char separator);

/// The address with "https://" before it unless it begins with "http", and with "config.json" at its end.
std::string formatCorrectNaviServer(std::string_view server);

/// Every address that is not empty, made whole; absent for an absent or empty list.
std::optional<TextList> formatNaviServers(const std::optional<TextList>& servers);

/// The addresses to ask, in their order: those that the token carries after its last "@", then the defaults.
/// @returns absent without defaults, whatever the token carries.
std::optional<TextList> allNaviServers(const OptionalText& token, const std::optional<TextList>& defaults);

} // namespace tq
