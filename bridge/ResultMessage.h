#pragma once

#include "platform/Foundation/NSTypes.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace tq {

/// Whether a native method was invoked and has produced something.
enum class ResultCode : std::int32_t { Invoked = 0, NotInvoked = -1 };

/// What a call comes to, as the page reads it: the JSON text of the map of its code and its data.
/// @param data absent: the empty text. @param more what pages that ask for more are told besides: one of the texts
/// below.
/// @returns `kUnwritableResult` when JSON cannot hold the data.
std::string resultMessage(ResultCode code, const OptionalValue& data, std::string_view more = {});

/// Results are still to come.
inline constexpr std::string_view kPending = R"(,"pending":true)";
/// None are to come: there is no such method.
inline constexpr std::string_view kNonePending = R"(,"pending":false)";
/// This one is the first and the last.
inline constexpr std::string_view kSettled = R"(,"complete":true)";

/// What a call comes to whose method has said that it has failed.
std::string failureMessage(std::string_view reason);

inline constexpr std::string_view kUnwritableResult = "{}";
/// Without data, which is no value in the page.
inline constexpr std::string_view kEndResult = R"({"code":0})";

} // namespace tq
