#pragma once

#include "TQWhiteBoardLib/TQWBNaviDataInfo.h"
#include "platform/Foundation/NSTypes.h"

#include <boost/json/object.hpp>
#include <cstdint>
#include <memory>
#include <string>

namespace tq {

// What is kept of a navigation answer, and how it is read again. What is read may have been written by anybody.

/// The name that an answer is kept under.
std::string naviEntryKey(const OptionalText& appKey, const OptionalText& token);

/// Whether an answer is worth keeping: none of its addresses is null.
bool isNaviAnswerKept(const boost::json::object& answer);

/// How long a navigation answer stays good.
inline constexpr std::int64_t kNaviLifetimeSeconds = 7200;

/// The time that an answer is stored with and judged by: seconds since 1970, less the zone's offset from GMT.
std::int64_t naviTimestamp(double secondsSince1970, NSInteger secondsFromGMT);

/// @param timestamp of now, see `naviTimestamp`.
boost::json::object naviEntry(boost::json::object answer, std::int64_t timestamp);

/// Whether an entry has become too old. One from the future has not.
bool isNaviEntryStale(const boost::json::object& entry, std::int64_t now);

std::shared_ptr<TQWBNaviDataInfo> naviDataOfEntry(const boost::json::object& entry);

} // namespace tq
