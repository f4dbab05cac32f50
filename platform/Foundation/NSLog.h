#pragma once

#include "NSTypes.h"

#include <string_view>

namespace tq {

/// Writes one line to the system log. Any thread.
void NSLog(std::string_view line);

/// The text of an absent value, as the log and every composed text show it.
inline constexpr std::string_view kAbsentText = "(null)";

/// The text itself, or "(null)".
inline std::string_view describe(const OptionalText& text) { return text ? std::string_view(*text) : kAbsentText; }

/// A text value as it stands, any other value as JSON, absent as "(null)".
std::string describe(const OptionalValue& value);

} // namespace tq
