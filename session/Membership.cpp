#include "Membership.h"

#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSLog.h"

#include <map>
#include <tuple>
#include <utility>

namespace tq {

namespace {

using Place = std::tuple<OptionalText, OptionalText, OptionalText>;

Place placeOf(const TQWBRoomConfig& config) { return { config.appKey, config.roomId, config.userId }; }

/// The places that somebody is on the way out of, and who waits for them.
struct Departures {
    struct Departure {
        int count = 0;
        std::vector<std::function<void()>> waiting;
    };

    std::mutex mutex;
    std::map<Place, Departure> places;

    void add(const Place& place)
    {
        const std::lock_guard lock(mutex);
        ++places[place].count;
    }
    void remove(const Place& place)
    {
        const std::lock_guard lock(mutex);
        const auto found = places.find(place);
        if (--found->second.count)
            return;
        for (auto& then : found->second.waiting)
            dispatchToMain(std::move(then));
        places.erase(found);
    }
    // Whether there was something to wait for.
    bool wait(const Place& place, const std::function<void()>& then)
    {
        const std::lock_guard lock(mutex);
        const auto found = places.find(place);
        if (found == places.end())
            return false;
        found->second.waiting.push_back(then);
        return true;
    }
};

// Never destroyed: departures may outlast everything else.
Departures& departures()
{
    static auto& made = *new Departures;
    return made;
}

// Whether the service may have heard of a join that it did not answer.
bool mayBeIn(const ServiceReply& reply)
{
    if (!reply.transportError)
        return !reply.answer.code;
    switch (reply.transportError->code) {
    case NSURLErrorUnsupportedURL:
    case NSURLErrorCannotFindHost:
    case NSURLErrorCannotConnectToHost:
    case NSURLErrorSecureConnectionFailed:
    case NSURLErrorServerCertificateUntrusted:
        return false;
    default:
        return true;
    }
}

} // namespace

Membership::Membership(std::shared_ptr<const TQWBNaviDataInfo> service, const TQWBRoomConfig& config)
    : m_service(std::move(service))
    , m_config(config)
{
}

std::shared_ptr<Membership> Membership::join(
    std::shared_ptr<const TQWBNaviDataInfo> service, const TQWBRoomConfig& config, Joined joined)
{
    const std::shared_ptr<Membership> self(new Membership(std::move(service), config));
    sendToService(nullptr, joinRequest(self->m_service.get(), config),
        [self, joined = std::move(joined)](const ServiceReply& reply) {
            self->answered(reply);
            dispatchToMain([joined, reply] { joined(reply); });
        });
    return self;
}

void Membership::whenFree(const TQWBRoomConfig& config, std::function<void()> then)
{
    if (!departures().wait(placeOf(config), then))
        then();
}

void Membership::answered(const ServiceReply& reply)
{
    std::unique_lock lock(m_mutex);
    m_isAnswered = true;
    if (!mayBeIn(reply))
        m_isIn = false;
    if (!m_isLeaving)
        return;
    const bool isIn = m_isIn;
    lock.unlock();
    if (isIn)
        sendQuit();
    else
        end(std::nullopt);
}

void Membership::leave(Left left)
{
    std::unique_lock lock(m_mutex);
    if (!m_isIn && !m_isLeaving) {
        dispatchToMain([left = std::move(left)] { left(std::nullopt); });
        return;
    }
    m_left.push_back(std::move(left));
    if (std::exchange(m_isLeaving, true))
        return;
    departures().add(placeOf(m_config));
    const bool isAnswered = m_isAnswered;
    lock.unlock();
    if (isAnswered)
        sendQuit();
}

void Membership::forget()
{
    const std::lock_guard lock(m_mutex);
    m_isIn = false;
}

void Membership::sendQuit()
{
    sendToService(nullptr, quitRequest(m_service.get(), m_config), [self = shared_from_this()](const auto& reply) {
        if (reply.transportError)
            logFailure(kQuitRequest, reply.transportError->localizedDescription);
        else if (reply.answer.code)
            logFailure(kQuitRequest, logged(reply.answer.desc));
        else
            logSuccess(kQuitRequest);
        self->end(reply);
    });
}

void Membership::end(const std::optional<ServiceReply>& reply)
{
    std::unique_lock lock(m_mutex);
    const auto told = std::exchange(m_left, {});
    m_isIn = false;
    lock.unlock();
    departures().remove(placeOf(m_config));
    dispatchToMain([told, reply] {
        for (const auto& left : told)
            left(reply);
    });
}

} // namespace tq
