#pragma once

#include <boost/json/value.hpp>
#include <cstdint>
#include <optional>
#include <string>

namespace tq {

/// Integers of the machine word: 64 bits on 64-bit targets, 32 bits on 32-bit targets.
using NSInteger = std::intptr_t;
using NSUInteger = std::uintptr_t;

/// A UTF-8 text that may be absent. Absent is not the same as empty.
using OptionalText = std::optional<std::string>;

/// Any JSON value, or absent. Absent is not the same as JSON null.
using OptionalValue = std::optional<boost::json::value>;

} // namespace tq
