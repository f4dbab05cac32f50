#include "RoomKeys.h"

#include "RandomText.h"

namespace tq::conference {

bool RoomKeys::isGood(const RoomKey& key, Clock::time_point now)
{
    return now < key.validUntil && (key.isUsed || now < key.freshUntil);
}

std::string RoomKeys::issue(RoomKey key, Clock::time_point now)
{
    std::erase_if(m_keys, [&](const auto& entry) {
        const auto& other = *entry.second;
        return !other.isUsed && other.room == key.room && other.user.uid == key.user.uid
            && other.recording == key.recording;
    });
    key.freshUntil = now + s_freshness;
    auto text = randomText();
    m_keys[text] = std::make_shared<RoomKey>(std::move(key));
    return text;
}

std::shared_ptr<RoomKey> RoomKeys::find(std::string_view text, Clock::time_point now) const
{
    const auto found = m_keys.find(text);
    return found != m_keys.end() && isGood(*found->second, now) ? found->second : nullptr;
}

std::set<std::string> RoomKeys::holders(std::string_view room, Clock::time_point now) const
{
    std::set<std::string> uids;
    for (const auto& [text, key] : m_keys) {
        if (key->room == room && key->recording.empty() && !key->isUsed && isGood(*key, now))
            uids.insert(key->user.uid);
    }
    return uids;
}

bool RoomKeys::revoke(std::string_view room, std::string_view uid, Clock::time_point now, const RoomKey* kept)
{
    bool wasGood = false;
    std::erase_if(m_keys, [&](const auto& entry) {
        const auto& key = *entry.second;
        if (&key == kept || key.room != room || key.user.uid != uid || !key.recording.empty())
            return false;
        wasGood = wasGood || isGood(key, now);
        return true;
    });
    return wasGood;
}

void RoomKeys::sweep(Clock::time_point now)
{
    std::erase_if(m_keys, [&](const auto& entry) { return !isGood(*entry.second, now); });
}

} // namespace tq::conference
