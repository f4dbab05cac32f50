#include "../Foundation/NSURL.h"

#include "GLibPointers.h"

#include <algorithm>
#include <memory>

namespace tq {

namespace {

struct UriRelease {
    void operator()(GUri* uri) const { g_uri_unref(uri); }
};

std::unique_ptr<GUri, UriRelease> parsed(const std::string& text)
{
    return std::unique_ptr<GUri, UriRelease>(g_uri_parse(text.c_str(), G_URI_FLAGS_PARSE_RELAXED, nullptr));
}

} // namespace

std::optional<NSURL> NSURL::URLWithString(std::string_view text)
{
    std::string address(text);
    const bool isPrintableAscii
        = std::ranges::all_of(address, [](char character) { return character > ' ' && character < 0x7F; });
    if (address.empty() || !isPrintableAscii)
        return std::nullopt;
    // Hosts are checked as far as the engine and the transfers would: brackets, ports, percent signs.
    if (!g_uri_is_valid(address.c_str(), G_URI_FLAGS_PARSE_RELAXED, nullptr))
        return std::nullopt;
    return NSURL(std::move(address));
}

OptionalText NSURL::origin() const
{
    const auto uri = parsed(m_text);
    const char* host = uri ? g_uri_get_host(uri.get()) : nullptr;
    if (!host || !*host)
        return std::nullopt;
    const std::string scheme = g_uri_get_scheme(uri.get());
    const bool isBracketed = std::string_view(host).find(':') != std::string_view::npos;
    auto text = scheme + "://" + (isBracketed ? "[" + std::string(host) + "]" : host);
    const int port = g_uri_get_port(uri.get());
    if (port > 0 && !(scheme == "https" && port == 443) && !(scheme == "http" && port == 80))
        text += ":" + std::to_string(port);
    std::ranges::transform(text, text.begin(), g_ascii_tolower);
    return text;
}

bool NSURL::isOriginAlone() const
{
    const auto uri = parsed(m_text);
    if (!uri || g_uri_get_userinfo(uri.get()) || g_uri_get_query(uri.get()) || g_uri_get_fragment(uri.get()))
        return false;
    const std::string_view path = g_uri_get_path(uri.get());
    return path.empty() || path == "/";
}

} // namespace tq
