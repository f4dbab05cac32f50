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

} // namespace

std::shared_ptr<tq::NSObject> makeAppObject()
{
    auto ticks = [queue = std::shared_ptr<tq::NSOperationQueue>(), underWay = std::make_shared<std::atomic<int>>(0)](
                     const tq::OptionalValue& argument, const tq::NSCompletion& completion) mutable {
        const auto count = tickCount(argument);
        if (!count)
            return refuse(completion, "count must be a whole number from 1 to 100000");
        if (*underWay >= kMostCalls)
            return refuse(completion, "too many calls are under way");
        ++*underWay;
        if (!queue)
            queue = tq::NSOperationQueue::create();
        queue->addOperation([count = *count, completion, underWay] {
            for (std::int64_t tick = 1; tick <= count; ++tick)
                completion(boost::json::value(tick), tick == count ? tq::Complete::Yes : tq::Complete::No);
            --*underWay;
        });
    };
    return tq::nativeFunctions({
        { "echo:", [](tq::OptionalValue argument) { return argument; } },
        { "fail:", [](tq::OptionalValue) -> tq::OptionalValue { throw std::runtime_error("app.fail was called"); } },
        { "ticks::", std::move(ticks) },
    });
}

} // namespace tqclient
