#include "ServiceAnswer.h"

#include "platform/Foundation/NSJSONSerialization.h"
#include "platform/Foundation/NSNumberReading.h"

namespace tq {

ServiceAnswer::ServiceAnswer(const OptionalText& data)
{
    const auto answer = data ? NSJSONSerialization::JSONObjectWithData(*data) : std::nullopt;
    code = intValue(memberOf(answer, "code"));
    if (const auto* member = memberOf(answer, "desc"))
        desc = *member;
    key = textValue(memberOf(answer, "key"));
}

} // namespace tq
