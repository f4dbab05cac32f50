#include "RequestBody.h"

#include "ObjectReader.h"
#include "Refusal.h"

#include <libsoup/soup.h>

#include <algorithm>
#include <optional>

namespace tq::conference {

namespace {

/// @param roleOf makes something of the role, or nothing: `wanted` says what it has to be.
template <class RoleOf> auto readUser(ObjectReader& body, User& user, const RoleOf& roleOf, std::string_view wanted)
{
    ObjectReader reader(body.value("user"), "user");
    user.uid = reader.text("uid", 1, User::s_longestUid);
    user.name = reader.text("name", 0, User::s_longestName);
    const auto role = roleOf(reader.text("role", 0, User::s_longestName));
    reader.require(bool(role), "role", wanted);
    reader.finish();
    return role;
}

std::string recordingOf(const std::string& address)
{
    constexpr std::string_view s_head = "/recordings/";
    constexpr std::string_view s_tail = ".json";
    g_autoptr(GUri) uri = g_uri_parse(address.c_str(), G_URI_FLAGS_ENCODED, nullptr);
    if (!uri || std::string_view(g_uri_get_scheme(uri)) != "https" || !g_uri_get_host(uri))
        return {};
    const std::string_view path = g_uri_get_path(uri);
    if (!path.starts_with(s_head) || !path.ends_with(s_tail) || path.size() <= s_head.size() + s_tail.size())
        return {};
    return std::string(path.substr(s_head.size(), path.size() - s_head.size() - s_tail.size()));
}

} // namespace

JoinBody JoinBody::parse(std::string_view body)
{
    const auto value = ObjectReader::parse(body);
    ObjectReader reader(value);
    JoinBody join;
    for (const auto* const member : { "outTradeNo", "ownerId", "name", "fileName" })
        reader.orderText(member);
    join.minutes = std::chrono::minutes(reader.integer("minutes", 1, 10000));
    join.role = *readUser(reader, join.user, roleNamed, "presenter or viewer");
    reader.finish();
    return join;
}

PlayBody PlayBody::parse(std::string_view body)
{
    constexpr std::size_t s_longestUrl = 2048;
    const auto value = ObjectReader::parse(body);
    ObjectReader reader(value);
    PlayBody play;
    reader.orderText("outTradeNo");
    play.recording = recordingOf(reader.text("url", 0, s_longestUrl));
    play.room = reader.text("playHubId", 0, User::s_longestUid);
    readUser(
        reader, play.user, [](std::string_view role) { return role == "record"; }, "record");
    reader.finish();
    return play;
}

std::string_view tokenOfNavigation(std::string_view body)
{
    constexpr std::string_view s_head = "token=";
    constexpr std::string_view s_middle = "&v=";
    constexpr std::string_view s_tail = "&p=iOS";
    const auto middle = body.rfind(s_middle);
    Refusal::require(body.starts_with(s_head) && body.ends_with(s_tail) && middle != body.npos
            && middle >= s_head.size() && middle + s_middle.size() + s_tail.size() <= body.size(),
        "the body must be token=TOKEN&v=VERSION&p=iOS");
    const auto version = body.substr(middle + s_middle.size(), body.size() - s_tail.size() - middle - s_middle.size());
    Refusal::require(!version.empty()
            && std::ranges::none_of(
                version, [](char letter) { return letter <= ' ' || letter > '~' || letter == '&'; }),
        "v must be a version of printable ASCII");
    return body.substr(s_head.size(), middle - s_head.size());
}

} // namespace tq::conference
