// The argument of a page's answer to a native call, as JSON.

#include "bridge/JSBUtil.h"
#include "bridge/PageAnswer.h"
#include "fuzz/support/Fuzz.h"
#include "fuzz/support/Reference.h"
#include "platform/Foundation/NSNumberReading.h"

namespace tq::fuzz {
namespace {

// The number of a call, by way of the floating point that scripts count in.
std::optional<double> plainId(const boost::json::value* id)
{
    if (!id || !id->is_number())
        return std::nullopt;
    const auto number = id->is_double() ? id->get_double()
        : id->is_int64()                ? static_cast<double>(id->get_int64())
                                        : static_cast<double>(id->get_uint64());
    const bool isCallNumber = number >= -2147483648.0 && number <= 2147483647.0
        && number == static_cast<double>(static_cast<std::int64_t>(number));
    return isCallNumber ? std::optional(number) : std::nullopt;
}

} // namespace

void check(std::string_view text)
{
    const auto argument = JSBUtil::jsonStringToObject(text);
    const auto answer = PageAnswer::read(argument);
    const auto id = plainId(memberOf(argument, "id"));
    expect(answer.has_value() == id.has_value(), "an answer is for a whole number of 32 bits");
    if (!answer)
        return;
    expect(static_cast<double>(answer->id) == *id, "an answer is for the call that it names");
    const auto* data = memberOf(argument, "data");
    expect(answer->data.has_value() == (data && !data->is_null()), "no data and null are none");
    expect(!answer->data || areAlike(*answer->data, *data), "the data is as it was sent");
    const auto* complete = memberOf(argument, "complete");
    expect(complete || !answer->isLast, "an answer is the last only if it says so");
    if (complete && complete->is_bool())
        expect(answer->isLast == complete->get_bool(), "an answer is the last if it says so");
}

} // namespace tq::fuzz
