#include "AppObject.h"

#include "TQWhiteBoardLib/NativeFunctions.h"
#include "platform/Foundation/NSOperationQueue.h"

#include <atomic>
#include <optional>
#include <stdexcept>

namespace tqclient {

namespace {

constexpr std::int64_t kMostTicks = 100000;
constexpr int kMostCalls = 64;

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

class Ticks {
public:
    void operator()(const tq::OptionalValue& argument, const tq::NSCompletion& completion) const
    {
        const auto count = tickCount(argument);
        if (!count)
            return refuse(completion, "count must be a whole number from 1 to 100000");
        if (m_underWay->fetch_add(1) >= kMostCalls) {
            --*m_underWay;
            return refuse(completion, "too many calls are under way");
        }
        m_queue->addOperation([count = *count, completion, underWay = m_underWay] {
            for (std::int64_t tick = 1; tick <= count; ++tick)
                completion(boost::json::value(tick), tick == count ? tq::Complete::Yes : tq::Complete::No);
            --*underWay;
        });
    }

private:
    std::shared_ptr<tq::NSOperationQueue> m_queue = tq::NSOperationQueue::create();
    std::shared_ptr<std::atomic<int>> m_underWay = std::make_shared<std::atomic<int>>(0);
};

} // namespace

std::shared_ptr<tq::NSObject> makeAppObject()
{
    return tq::nativeFunctions({
        { "echo:", [](tq::OptionalValue argument) { return argument; } },
        { "fail:", [](tq::OptionalValue) -> tq::OptionalValue { throw std::runtime_error("app.fail was called"); } },
        { "ticks::", Ticks() },
    });
}

} // namespace tqclient
