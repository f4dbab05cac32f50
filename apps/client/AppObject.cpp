#include "AppObject.h"

#include <optional>
#include <stdexcept>

namespace tqclient {

namespace {

constexpr std::int64_t kMostTicks = 100000;
constexpr std::size_t kMostJobs = 64;

std::optional<std::int64_t> tickCount(const tq::OptionalValue& argument)
{
    const auto* object = argument ? argument->if_object() : nullptr;
    const auto* count = object ? object->if_contains("count") : nullptr;
    const auto* number = count ? count->if_int64() : nullptr;
    if (!number || *number < 1 || *number > kMostTicks)
        return std::nullopt;
    return *number;
}

void refuse(const tq::NSCompletion& completion, std::string_view reason)
{
    completion(boost::json::object{ { "error", reason } }, tq::Complete::Yes);
}

} // namespace

AppObject::~AppObject() = default;

const tq::NSClass& AppObject::objectClass() const
{
    static const auto table = tq::NSClass::of<AppObject>("AppObject", &tq::NSObject::staticClass(),
        { { "echo:", &AppObject::echo }, { "fail:", &AppObject::fail }, { "ticks::", &AppObject::ticks } });
    return table;
}

tq::OptionalValue AppObject::echo(tq::OptionalValue argument) { return argument; }

tq::OptionalValue AppObject::fail(tq::OptionalValue) { throw std::runtime_error("app.fail was called"); }

void AppObject::ticks(tq::OptionalValue argument, tq::NSCompletion completion)
{
    auto count = tickCount(argument);
    if (!count)
        return refuse(completion, "count must be a whole number from 1 to 100000");
    std::unique_lock lock(m_mutex);
    if (m_jobs.size() == kMostJobs) {
        lock.unlock();
        return refuse(completion, "too many calls are under way");
    }
    m_jobs.push_back({ *count, std::move(completion) });
    if (!m_worker.joinable())
        m_worker = std::jthread([this](const std::stop_token& stop) { work(stop); });
    lock.unlock();
    m_wake.notify_one();
}

void AppObject::work(const std::stop_token& stop)
{
    for (;;) {
        std::unique_lock lock(m_mutex);
        if (!m_wake.wait(lock, stop, [this] { return !m_jobs.empty(); }))
            return;
        Job job = std::move(m_jobs.front());
        m_jobs.pop_front();
        lock.unlock();
        for (std::int64_t tick = 1; tick <= job.count && !stop.stop_requested(); ++tick)
            job.completion(boost::json::value(tick), tick == job.count ? tq::Complete::Yes : tq::Complete::No);
    }
}

} // namespace tqclient
