#include "NaviEntry.h"
#include "TQWBNaviManager.h"
#include "platform/Foundation/NSDate.h"
#include "platform/Foundation/NSUserDefaults.h"

#include <utility>

namespace tq {

namespace {

std::int64_t currentTimestamp() { return naviTimestamp(timeIntervalSince1970(), secondsFromGMT()); }

std::optional<boost::json::object> readEntry(const OptionalText& appKey, const OptionalText& token)
{
    auto entry = NSUserDefaults::standardUserDefaults().dictionaryForKey(naviEntryKey(appKey, token));
    if (entry && entry->empty())
        entry.reset();
    return entry;
}

} // namespace

bool TQWBNaviManager::needRequestNavi(const OptionalText& appKey, const OptionalText& token) const
{
    const auto entry = readEntry(appKey, token);
    return !entry || isNaviEntryStale(*entry, currentTimestamp());
}

std::shared_ptr<TQWBNaviDataInfo> TQWBNaviManager::getNaviData(
    const OptionalText& appKey, const OptionalText& token) const
{
    const auto entry = readEntry(appKey, token);
    return entry ? naviDataOfEntry(*entry) : nullptr;
}

std::shared_ptr<TQWBNaviDataInfo> TQWBNaviManager::freshNaviData(
    const OptionalText& appKey, const OptionalText& token) const
{
    const auto entry = readEntry(appKey, token);
    return entry && !isNaviEntryStale(*entry, currentTimestamp()) ? naviDataOfEntry(*entry) : nullptr;
}

bool TQWBNaviManager::saveNavi(
    std::optional<boost::json::object> answer, const OptionalText& appKey, const OptionalText& token)
{
    if (!answer || !isNaviAnswerKept(*answer))
        return false;
    auto& defaults = NSUserDefaults::standardUserDefaults();
    if (!defaults.setObject(naviEntry(std::move(*answer), currentTimestamp()), naviEntryKey(appKey, token)))
        return false;
    defaults.synchronize();
    return true;
}

void TQWBNaviManager::forgetNavi(const OptionalText& appKey, const OptionalText& token)
{
    auto& defaults = NSUserDefaults::standardUserDefaults();
    defaults.removeObjectForKey(naviEntryKey(appKey, token));
    defaults.synchronize();
}

} // namespace tq
