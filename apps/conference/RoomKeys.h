#pragma once

#include "RequestBody.h"

#include <chrono>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>

namespace tq::conference {

/// What a key of the room page opens. The member that entered with it shares the record.
struct RoomKey {
    User user;
    std::string room;
    Role role = Role::Viewer;
    std::string recording{}; ///< not empty: the key opens this recording, not a live room
    std::chrono::steady_clock::time_point validUntil; ///< end of the time that was asked for
    std::chrono::steady_clock::time_point freshUntil{}; ///< until when an unused key holds its place
    bool isUsed = false;
};

/// The keys that were handed out.
class RoomKeys {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::size_t s_most = 4096;
    static constexpr std::chrono::minutes s_freshness{ 2 };

    bool isFull() const { return m_keys.size() >= s_most; }

    /// Gives the key a text, and forgets the same user's unused ones for the same room.
    std::string issue(RoomKey, Clock::time_point now);

    /// The key, if it may (still) be used; a used key may be used again, as when a page is loaded anew.
    std::shared_ptr<RoomKey> find(std::string_view text, Clock::time_point now) const;

    /// Whose unused keys hold a place in the room.
    std::set<std::string> holders(std::string_view room, Clock::time_point now) const;

    /// Forgets the user's keys for the room, but for `kept`; true if there were any that were still good.
    bool revoke(std::string_view room, std::string_view uid, Clock::time_point now, const RoomKey* kept = nullptr);

    void sweep(Clock::time_point now);

private:
    static bool isGood(const RoomKey&, Clock::time_point now);

    std::map<std::string, std::shared_ptr<RoomKey>, std::less<>> m_keys;
};

} // namespace tq::conference
