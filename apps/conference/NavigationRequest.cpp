#include "NavigationRequest.h"

#include <algorithm>

namespace tq::conference {

std::variant<NavigationRequest, Refusal> NavigationRequest::parse(std::string_view body)
{
    const auto refuse = [](const char* desc) { return Refusal{ Refusal::s_malformed, desc }; };
    constexpr std::string_view s_head = "token=";
    constexpr std::string_view s_middle = "&v=";
    constexpr std::string_view s_tail = "&p=iOS";
    if (!body.starts_with(s_head))
        return refuse("the body must begin with token=");
    if (!body.ends_with(s_tail))
        return refuse("the body must end with &p=iOS");
    const auto middle = body.rfind(s_middle);
    if (middle == std::string_view::npos || middle < s_head.size())
        return refuse("the body must be token=TOKEN&v=VERSION&p=iOS");
    const auto begin = middle + s_middle.size();
    if (begin + s_tail.size() > body.size())
        return refuse("the body must be token=TOKEN&v=VERSION&p=iOS");
    const auto version = body.substr(begin, body.size() - s_tail.size() - begin);
    if (version.empty() || version.find('&') != std::string_view::npos)
        return refuse("v must be a version and stand between the token and p");
    if (std::ranges::any_of(version, [](char letter) { return letter <= ' ' || letter > '~'; }))
        return refuse("v must be printable ASCII");
    return NavigationRequest{ std::string(body.substr(s_head.size(), middle - s_head.size())), std::string(version) };
}

} // namespace tq::conference
