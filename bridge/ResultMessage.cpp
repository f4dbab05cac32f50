#include "ResultMessage.h"

#include "platform/Foundation/NSJSONSerialization.h"

namespace tq {

std::string resultMessage(ResultCode code, const OptionalValue& data, std::string_view more)
{
    // A message of this length is written without asking for memory a second time.
    constexpr std::size_t kUsualLength = 256;
    // As objToJsonString writes the map, without making it first.
    std::string message;
    message.reserve(kUsualLength);
    message = code == ResultCode::Invoked ? R"({"code":0,"data":)" : R"({"code":-1,"data":)";
    if (!data)
        message += "\"\"";
    else if (!NSJSONSerialization::appendJSON(message, *data))
        return std::string(kUnwritableResult);
    message += more;
    message += '}';
    return message;
}

std::string failureMessage(std::string_view reason)
{
    std::string message = R"({"code":-1,"data":)";
    if (!NSJSONSerialization::appendText(message, reason))
        message += R"("the method has failed")";
    return message.append(R"(,"failed":true})");
}

} // namespace tq
