#include "NaviEntry.h"

#include "platform/Foundation/NSLog.h"
#include "platform/Foundation/NSNumberReading.h"

#include <utility>

namespace tq {

namespace {

constexpr const char* kTimestamp = "TQWB-timestamp";
constexpr const char* kNaviData = "TQWB-navi-data";

} // namespace

std::string naviEntryKey(const OptionalText& appKey, const OptionalText& token)
{
    return std::string(describe(appKey)) + "+" + std::string(describe(token));
}

bool isNaviAnswerKept(const boost::json::object& answer)
{
    for (const char* address : { "iwbLeaseUri", "iwbConferenceUri" }) {
        if (const auto* value = answer.if_contains(address); value && value->is_null())
            return false;
    }
    return true;
}

std::int64_t naviTimestamp(double secondsSince1970, NSInteger secondsFromGMT)
{
    return static_cast<std::int64_t>(secondsSince1970 - static_cast<double>(secondsFromGMT));
}

boost::json::object naviEntry(boost::json::object answer, std::int64_t timestamp)
{
    boost::json::object entry;
    entry.emplace(kTimestamp, timestamp);
    entry.emplace(kNaviData, std::move(answer));
    return entry;
}

bool isNaviEntryStale(const boost::json::object& entry, std::int64_t now)
{
    // The stored time may be any number at all: nothing is taken from it.
    return longLongValue(entry.if_contains(kTimestamp)) < now - kNaviLifetimeSeconds;
}

std::shared_ptr<TQWBNaviDataInfo> naviDataOfEntry(const boost::json::object& entry)
{
    auto info = std::make_shared<TQWBNaviDataInfo>();
    if (const auto* answer = entry.if_contains(kNaviData)) {
        info->code = intValue(memberOf(*answer, "code"));
        info->iwbLeaseUri = textValue(memberOf(*answer, "iwbLeaseUri"));
        info->iwbConferenceUri = textValue(memberOf(*answer, "iwbConferenceUri"));
    }
    return info;
}

} // namespace tq
