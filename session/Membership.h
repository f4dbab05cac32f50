#pragma once

#include "ServiceRequests.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace tq {

/// A user's place in a room at the service, from the moment that the join is sent. Main thread; what it has begun goes
/// on without a main loop, and without anybody who holds it.
class Membership : public std::enable_shared_from_this<Membership> {
public:
    /// On the main thread, once.
    using Joined = std::function<void(const ServiceReply& reply)>;
    /// On the main thread, once. @param reply absent: there was nothing to leave.
    using Left = std::function<void(const std::optional<ServiceReply>& reply)>;

    /// Sends the join at once.
    /// @param before the same user's place until now, which this one takes over; may be null.
    static std::shared_ptr<Membership> join(std::shared_ptr<const TQWBNaviDataInfo> service,
        const TQWBRoomConfig& config, const std::shared_ptr<Membership>& before, Joined joined);
    /// Calls when nobody is on the way out of the room as this user any more, who would take the newcomer along; at
    /// once if nobody is.
    static void whenFree(const TQWBRoomConfig& config, std::function<void()> then);

    /// Takes the user out of the room, once the join has been answered; not when that was a refusal, nor when the same
    /// user has joined anew meanwhile, who would be taken out. Twice is once.
    void leave(Left left);
    /// There is nothing to leave any more: the page has said so.
    void forget();

private:
    bool isIn();
    Membership(std::shared_ptr<const TQWBNaviDataInfo> service, const TQWBRoomConfig& config);
    void answered(const ServiceReply& reply);
    void sendQuit();
    void end(const std::optional<ServiceReply>& reply);

    const std::shared_ptr<const TQWBNaviDataInfo> m_service;
    const TQWBRoomConfig m_config;
    // The user was in the room before this join, and is so after a refusal.
    bool m_wasIn = false;
    // Later joins have higher ones.
    std::uint64_t m_number = 0;

    // Join and quit are answered on threads of their own.
    std::mutex m_mutex;
    bool m_isAnswered = false;
    bool m_isIn = true;
    bool m_isLeaving = false;
    std::vector<Left> m_left;
};

} // namespace tq
