#include "NaviAge.h"
#include "TQWBNaviManager.h"
#include "platform/Foundation/NSDate.h"
#include "platform/Foundation/NSLog.h"
#include "platform/Foundation/NSNumberReading.h"
#include "platform/Foundation/NSUserDefaults.h"

namespace tq {

namespace {

constexpr const char* kTimestamp = "TQWB-timestamp";
constexpr const char* kNaviData = "TQWB-navi-data";

std::string entryKey(const OptionalText& appKey, const OptionalText& token)
{
    return std::string(describe(appKey)) + "+" + std::string(describe(token));
}

std::int64_t currentTimestamp() { return naviTimestamp(timeIntervalSince1970(), secondsFromGMT()); }

OptionalValue readEntry(const OptionalText& appKey, const OptionalText& token)
{
    auto entry = NSUserDefaults::standardUserDefaults().dictionaryForKey(entryKey(appKey, token));
    if (!entry || entry->empty())
        return std::nullopt;
    return boost::json::value(std::move(*entry));
}

} // namespace

bool TQWBNaviManager::needRequestNavi(const OptionalText& appKey, const OptionalText& token) const
{
    const auto entry = readEntry(appKey, token);
    return !entry || isNaviStale(currentTimestamp(), longLongValue(memberOf(entry, kTimestamp)));
}

std::shared_ptr<TQWBNaviDataInfo> TQWBNaviManager::getNaviData(
    const OptionalText& appKey, const OptionalText& token) const
{
    const auto entry = readEntry(appKey, token);
    if (!entry)
        return nullptr;
    auto info = std::make_shared<TQWBNaviDataInfo>();
    if (const auto* answer = memberOf(entry, kNaviData)) {
        info->code = intValue(memberOf(*answer, "code"));
        info->iwbLeaseUri = textValue(memberOf(*answer, "iwbLeaseUri"));
        info->iwbConferenceUri = textValue(memberOf(*answer, "iwbConferenceUri"));
    }
    return info;
}

bool TQWBNaviManager::saveNavi(
    const std::optional<boost::json::object>& answer, const OptionalText& appKey, const OptionalText& token)
{
    if (!answer)
        return false;
    for (const char* address : { "iwbLeaseUri", "iwbConferenceUri" }) {
        if (const auto* value = answer->if_contains(address); value && value->is_null())
            return false;
    }
    auto& defaults = NSUserDefaults::standardUserDefaults();
    if (!defaults.setObject({ { kTimestamp, currentTimestamp() }, { kNaviData, *answer } }, entryKey(appKey, token)))
        return false;
    defaults.synchronize();
    return true;
}

} // namespace tq
