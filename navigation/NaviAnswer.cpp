#include "NaviAnswer.h"

#include "TQWhiteBoardLib/TQWBNaviCode.h"
#include "platform/Foundation/NSJSONSerialization.h"
#include "platform/Foundation/NSNumberReading.h"
#include "platform/Foundation/Unicode.h"

#include <utility>

namespace tq {

namespace {

OptionalText decoded(const std::string& bytes) { return isUTF8(bytes) ? OptionalText(bytes) : std::nullopt; }

std::string codeAndStatus(NSInteger code, NSInteger status)
{
    return "code = " + std::to_string(code) + ", responseCode = " + std::to_string(status) + ".";
}

// The refusal is the crosswise pair; equal numbers are an ordinary failure.
bool isRefusal(NSInteger status, NSInteger code)
{
    return (status == 401 && code == 403) || (status == 403 && code == 401);
}

NaviAnswer failed(NSUInteger code, OptionalText body, std::string description)
{
    return { .good = std::nullopt, .code = code, .body = std::move(body), .description = std::move(description) };
}

} // namespace

NaviAnswer NaviAnswer::read(const OptionalText& data, NSInteger status, const std::optional<NSError>& error)
{
    if (!data)
        return failed(TQWBNaviCodeRequestFailed, std::nullopt, error ? error->localizedDescription : "");
    auto answer = NSJSONSerialization::JSONObjectWithData(*data);
    const auto code = integerValue(memberOf(answer, "code"));
    const bool isComplete = memberOf(answer, "iwbLeaseUri") && memberOf(answer, "iwbConferenceUri");
    if (status == 200 && isComplete)
        return { .good = std::move(answer->get_object()), .code = 0, .body = std::nullopt, .description = {} };
    if (status == 200)
        return failed(TQWBNaviCodeAnswerIncomplete, decoded(*data), codeAndStatus(code, status));
    if (isRefusal(status, code))
        return failed(TQWBNaviCodeUnauthorized, decoded(*data), codeAndStatus(code, status));
    return failed(TQWBNaviCodeRequestFailed, decoded(*data), "responseCode = " + std::to_string(status) + ".");
}

} // namespace tq
