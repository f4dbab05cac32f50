// The argument of a page's answer to a native call, as JSON.

#include "bridge/JSBUtil.h"
#include "bridge/PageAnswer.h"
#include "fuzz/support/Fuzz.h"
#include "fuzz/support/Reference.h"
#include "platform/Foundation/NSNumberReading.h"

namespace tq::fuzz {

void check(std::string_view text)
{
    const auto argument = JSBUtil::jsonStringToObject(text);
    const auto answer = PageAnswer::read(argument);
    if (!answer)
        return;
    // By way of the floating point that scripts count in.
    const auto* id = memberOf(argument, "id");
    expect(id && id->is_number() && id->to_number<double>() == answer->id, "an answer is for the call that it names");
    const auto* data = memberOf(argument, "data");
    expect(answer->data.has_value() == (data && !data->is_null()), "no data and null are none");
    expect(!answer->data || areAlike(*answer->data, *data), "the data is as it was sent");
    const auto* complete = memberOf(argument, "complete");
    expect(complete || !answer->isLast, "an answer is the last only if it says so");
    if (complete && complete->is_bool())
        expect(answer->isLast == complete->get_bool(), "an answer is the last if it says so");
}

} // namespace tq::fuzz
