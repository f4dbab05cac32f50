#include "ServiceAnswer.h"

#include "platform/Foundation/NSJSONSerialization.h"
#include "platform/Foundation/NSLog.h"
#include "platform/Foundation/NSNumberReading.h"

namespace tq {

ServiceAnswer::ServiceAnswer(const OptionalText& data)
{
    const auto answer = data ? NSJSONSerialization::JSONObjectWithData(*data) : std::nullopt;
    isReadable = memberOf(answer, "code");
    code = intValue(memberOf(answer, "code"));
    if (const auto* member = memberOf(answer, "desc"))
        desc = *member;
    // A key that is no text is taken as it would be written.
    if (const auto* member = memberOf(answer, "key"); member && !member->is_null())
        key = describe(OptionalValue(*member));
}

OptionalText ServiceAnswer::failureText() const { return textValue(desc ? &*desc : nullptr); }

} // namespace tq
