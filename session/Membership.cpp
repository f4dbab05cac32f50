#include "Membership.h"

#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSLog.h"

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <map>
#include <tuple>
#include <utility>

namespace tq {

namespace {

using Place = std::tuple<OptionalText, OptionalText, OptionalText>;

Place placeOf(const TQWBRoomConfig& config) { return { config.appKey, config.roomId, config.userId }; }

/// The places that somebody is on the way out of, who waits for them, and who has taken which place last.
struct Departures {
    struct Departure {
        int count = 0;
        std::vector<std::function<void()>> waiting;
    };

    // Long enough for a service that answers, and short enough for somebody who waits for a program to end.
    static constexpr std::chrono::seconds kPatienceAtExit{ 2 };

    std::mutex mutex;
    std::condition_variable changed;
    std::map<Place, Departure> places;
    std::map<Place, std::uint64_t> newest;
    std::uint64_t count = 0;

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
        changed.notify_all();
    }
    std::uint64_t take(const Place& place)
    {
        const std::lock_guard lock(mutex);
        return newest[place] = ++count;
    }
    bool isNewest(const Place& place, std::uint64_t number)
    {
        const std::lock_guard lock(mutex);
        const auto found = newest.find(place);
        return found == newest.end() || found->second == number;
    }
    void giveUp(const Place& place, std::uint64_t number)
    {
        const std::lock_guard lock(mutex);
        const auto found = newest.find(place);
        if (found != newest.end() && found->second == number)
            newest.erase(found);
    }
    // Whoever is on the way out gets there before the program ends.
    void wait()
    {
        std::unique_lock lock(mutex);
        changed.wait_for(lock, kPatienceAtExit, [this] { return places.empty(); });
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

// What is registered last runs first: after work has begun in the background, and so before that is stopped.
void waitAtExit()
{
    static_cast<void>(std::atexit([] { departures().wait(); }));
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

std::shared_ptr<Membership> Membership::join(std::shared_ptr<const TQWBNaviDataInfo> service,
    const TQWBRoomConfig& config, const std::shared_ptr<Membership>& before, Joined joined)
{
    std::shared_ptr<Membership> self(new Membership(std::move(service), config));
    self->m_wasIn = before && before->isIn();
    self->m_number = departures().take(placeOf(config));
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
    m_isIn = m_wasIn || mayBeIn(reply);
    static const bool s_isWaitedFor = (waitAtExit(), true);
    static_cast<void>(s_isWaitedFor);
    if (!m_isLeaving)
        return;
    const bool isStillIn = m_isIn;
    lock.unlock();
    if (isStillIn)
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
    departures().giveUp(placeOf(m_config), m_number);
    const std::lock_guard lock(m_mutex);
    m_isIn = false;
}

bool Membership::isIn()
{
    const std::lock_guard lock(m_mutex);
    return m_isIn;
}

void Membership::sendQuit()
{
    if (!departures().isNewest(placeOf(m_config), m_number)) {
        end(std::nullopt);
        return;
    }
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
    m_isLeaving = false;
    lock.unlock();
    departures().giveUp(placeOf(m_config), m_number);
    departures().remove(placeOf(m_config));
    dispatchToMain([told, reply] {
        for (const auto& left : told)
            left(reply);
    });
}

} // namespace tq
