#include "JoinRequest.h"

#include "ObjectReader.h"

namespace tq::conference {

std::variant<JoinRequest, Refusal> JoinRequest::parse(std::string_view body)
{
    boost::json::error_code error;
    const auto value = boost::json::parse({ body.data(), body.size() }, error);
    if (error)
        return Refusal{ Refusal::s_malformed, "the body is not JSON: " + error.message() };
    ObjectReader reader(value, "");
    for (const auto* const member : { "outTradeNo", "ownerId", "name", "fileName" })
        reader.orderText(member);
    JoinRequest request;
    request.minutes = std::chrono::minutes(reader.integer("minutes", 1, 10000));
    ObjectReader user(reader.value("user"), "user");
    request.uid = user.text("uid", 1, s_longestUid);
    request.name = user.text("name", 0, s_longestName);
    const auto role = roleNamed(user.text("role", 0, s_longestName));
    if (!role)
        user.fail("role", "presenter or viewer");
    reader.adopt(user.finish());
    if (const auto fault = reader.finish())
        return Refusal{ Refusal::s_malformed, *fault };
    request.role = *role;
    return request;
}

} // namespace tq::conference
