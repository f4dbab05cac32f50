#pragma once

#include "platform/Foundation/NSTypes.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tq {

/// Whether a native method was invoked and has produced something.
enum class ResultCode : std::int32_t { Invoked = 0, NotInvoked = -1 };

/// What a call comes to, as the page reads it: the JSON text of the map of its code and its data.
/// @param data absent: the empty text. @param isPending whether results are still to come; absent: not said.
/// @returns `kUnwritableResult` when JSON cannot hold the data.
std::string resultMessage(ResultCode code, const OptionalValue& data, std::optional<bool> isPending = std::nullopt);

inline constexpr std::string_view kUnwritableResult = "{}";
/// Without data, which is no value in the page.
inline constexpr std::string_view kEndResult = R"({"code":0})";

} // namespace tq
