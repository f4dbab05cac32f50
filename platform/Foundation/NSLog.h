#pragma once

#include "NSTypes.h"
#include "TQWhiteBoardLib/TQWBLog.h"

#include <string>
#include <string_view>

namespace tq {

/// Writes one line to the system log, or gives it to the application's handler. What would break the line or turn it
/// around is written as an escape, "\n" for example, and what exceeds 4 KiB is left out, with a mark. Any thread.
void NSLog(TQWBLogLevel level, std::string_view line);
/// The same for what happens.
inline void NSLog(std::string_view line) { NSLog(TQWBLogLevel::Info, line); }
/// The same for a value from outside between the library's own texts, which are written as they stand.
void NSLog(TQWBLogLevel level, std::string_view before, std::string_view value, std::string_view after);

/// The value as a line of the log shows it: one line of UTF-8, at most about 4 KiB.
std::string logged(std::string_view text);
/// The same for any value, as `describe` has it; cheap however large the value is.
std::string logged(const OptionalValue& value);

/// The port's: hands a line of UTF-8 to the system log.
void writeLogLine(const std::string& line);

/// The text of an absent value, as the log and every composed text show it.
inline constexpr std::string_view kAbsentText = "(null)";

/// The text itself, or "(null)".
inline std::string_view describe(const OptionalText& text) { return text ? std::string_view(*text) : kAbsentText; }

/// A text value as it stands, any other value as JSON, absent as "(null)".
std::string describe(const OptionalValue& value);

} // namespace tq
