#include "LogHandler.h"

#include <algorithm>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace tq {

namespace {

struct Registration {
    TQWBLogHandler handler;
    TQWBLogLevel mostDetailed;
    // Calls that are under way.
    int calls = 0;
};

// Never destroyed: lines are written until the process ends.
struct Registry {
    std::mutex mutex;
    std::condition_variable callEnded;
    std::shared_ptr<Registration> current;
    // Replaced while calls of them were under way.
    std::vector<std::shared_ptr<Registration>> replaced;
};

Registry& registry()
{
    static auto& s_registry = *new Registry;
    return s_registry;
}

thread_local bool s_isInHandler = false;

// One call of the current handler, if there is one for this thread.
class Call {
public:
    Call()
    {
        if (s_isInHandler)
            return;
        const std::lock_guard lock(registry().mutex);
        m_registration = registry().current;
        if (!m_registration)
            return;
        ++m_registration->calls;
        s_isInHandler = true;
    }
    ~Call()
    {
        if (!m_registration)
            return;
        s_isInHandler = false;
        const std::lock_guard lock(registry().mutex);
        --m_registration->calls;
        // Never the last reference, so that the handler does not go on this thread, when nobody expects it any more.
        m_registration.reset();
        registry().callEnded.notify_all();
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    const Registration* registration() const { return m_registration.get(); }

private:
    std::shared_ptr<Registration> m_registration;
};

} // namespace

bool giveToLogHandler(TQWBLogLevel level, std::string_view line)
{
    const Call call;
    const auto* registration = call.registration();
    if (!registration)
        return false;
    if (level > registration->mostDetailed)
        return true;
    try {
        registration->handler(level, line);
    } catch (...) {
        return false;
    }
    return true;
}

void setLogHandler(TQWBLogHandler handler, TQWBLogLevel mostDetailed)
{
    // Lets go of them after the lock: what a handler holds may write lines when it goes.
    std::vector<std::shared_ptr<Registration>> ended;
    auto next = handler ? std::make_shared<Registration>(Registration{ std::move(handler), mostDetailed }) : nullptr;
    auto& all = registry();
    std::unique_lock lock(all.mutex);
    next.swap(all.current);
    if (next)
        all.replaced.push_back(std::move(next));
    const auto hasEnded = [](const auto& registration) { return !registration->calls; };
    if (!s_isInHandler)
        all.callEnded.wait(lock, [&] { return std::ranges::all_of(all.replaced, hasEnded); });
    const auto running = std::stable_partition(all.replaced.begin(), all.replaced.end(), hasEnded);
    ended.assign(std::make_move_iterator(all.replaced.begin()), std::make_move_iterator(running));
    all.replaced.erase(all.replaced.begin(), running);
}

} // namespace tq
