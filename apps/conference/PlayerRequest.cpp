#include "PlayerRequest.h"

#include "GLibPointer.h"
#include "JoinRequest.h"
#include "ObjectReader.h"

namespace tq::conference {

std::variant<PlayerRequest, Refusal> PlayerRequest::parse(std::string_view body)
{
    constexpr std::size_t s_longestUrl = 2048;
    boost::json::error_code error;
    const auto value = boost::json::parse({ body.data(), body.size() }, error);
    if (error)
        return Refusal{ Refusal::s_malformed, "the body is not JSON: " + error.message() };
    ObjectReader reader(value, "");
    reader.orderText("outTradeNo");
    PlayerRequest request;
    request.url = reader.text("url", 0, s_longestUrl);
    request.room = reader.text("playHubId", 0, JoinRequest::s_longestUid);
    ObjectReader user(reader.value("user"), "user");
    request.uid = user.text("uid", 1, JoinRequest::s_longestUid);
    request.name = user.text("name", 0, JoinRequest::s_longestName);
    if (user.text("role", 0, JoinRequest::s_longestName) != "record")
        user.fail("role", "record");
    reader.adopt(user.finish());
    if (const auto fault = reader.finish())
        return Refusal{ Refusal::s_malformed, *fault };
    return request;
}

std::string PlayerRequest::recordingId() const
{
    constexpr std::string_view s_head = "/recordings/";
    constexpr std::string_view s_tail = ".json";
    const GUriPointer uri(g_uri_parse(url.c_str(), G_URI_FLAGS_ENCODED, nullptr));
    if (!uri || std::string_view(g_uri_get_scheme(uri.get())) != "https" || !g_uri_get_host(uri.get()))
        return {};
    const std::string_view path = g_uri_get_path(uri.get());
    if (!path.starts_with(s_head) || !path.ends_with(s_tail) || path.size() <= s_head.size() + s_tail.size())
        return {};
    return std::string(path.substr(s_head.size(), path.size() - s_head.size() - s_tail.size()));
}

} // namespace tq::conference
