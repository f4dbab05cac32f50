#pragma once

#include "NSTypes.h"

#include <boost/json/object.hpp>
#include <cstdint>
#include <string_view>

namespace tq {

/// The member of a map; absent when the value is no map or has no such member.
const boost::json::value* memberOf(const boost::json::value& value, std::string_view key);
const boost::json::value* memberOf(const OptionalValue& value, std::string_view key);

/// The text of a value; absent for anything that is not a text (null included).
OptionalText textValue(const boost::json::value* value);

// Loose readings of a value as a number: the integer part of a number, the leading decimal digits of a text (after
// blanks, with a sign), 1 for true; 0 for everything else, absent included. What does not fit becomes the nearest that
// does, so that a value other than zero never reads as zero.
std::int32_t intValue(const boost::json::value* value);
std::int64_t longLongValue(const boost::json::value* value);
NSInteger integerValue(const boost::json::value* value);

/// The strict reading: the value of a number without a fraction, which 1.0 is as well; absent for everything else and
/// for what does not fit.
std::optional<std::int64_t> wholeNumber(const boost::json::value* value);

/// The loose reading as a truth: any number but 0, true, and a text that begins with Y, y, T, t or a digit from 1 to 9
/// (after blanks, a sign and zeros).
bool boolValue(const boost::json::value* value);

} // namespace tq
