#include "PageAnswer.h"

#include "JSBUtil.h"
#include "platform/Foundation/NSNumberReading.h"

#include <utility>

namespace tq {

std::optional<PageAnswer> PageAnswer::read(OptionalValue argument)
{
    const auto id = wholeNumber(memberOf(argument, "id"));
    if (!id || !std::in_range<std::int32_t>(*id))
        return std::nullopt;
    const bool isLast = boolValue(memberOf(argument, "complete"));
    auto failure = textValue(memberOf(argument, "error"));
    return PageAnswer{ static_cast<std::int32_t>(*id), JSBUtil::takeData(argument), std::move(failure), isLast };
}

} // namespace tq
