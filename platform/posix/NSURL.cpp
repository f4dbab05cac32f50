#include "../Foundation/NSURL.h"

#include "../Foundation/Releaser.h"

#include <algorithm>
#include <curl/curl.h>
#include <memory>

namespace tq {

namespace {

using Address = std::unique_ptr<CURLU, Releaser<curl_url_cleanup>>;

bool isPrintableAscii(std::string_view text)
{
    return std::ranges::all_of(text, [](char character) { return character > ' ' && character < 0x7F; });
}

std::string lowered(std::string text)
{
    std::ranges::transform(text, text.begin(), [](char character) {
        return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
    });
    return text;
}

// What the text begins with, in small letters; empty where that is no scheme.
std::string schemeOf(std::string_view text)
{
    constexpr std::string_view kCharacters = "abcdefghijklmnopqrstuvwxyz0123456789+-.";
    auto scheme = lowered(std::string(text.substr(0, std::min(text.find(':'), text.size()))));
    const bool isScheme = scheme.size() < text.size() && !scheme.empty() && scheme.front() >= 'a'
        && scheme.front() <= 'z' && scheme.find_first_not_of(kCharacters) == scheme.npos;
    return isScheme ? scheme : "";
}

// What libcurl would mend, or an engine would read otherwise than libcurl does: one slash or three, a backslash (for
// engines a slash), an escape in a host's name. Nor is there a host where an absent one has been written as "(null)".
bool isPlain(std::string_view text)
{
    const auto colon = text.find(':');
    if (colon == text.npos || text.substr(colon, 3) != "://")
        return false;
    const auto begin = colon + 3;
    const auto authority = text.substr(begin, text.find_first_of("/?#", begin) - begin);
    const auto host = authority.substr(authority.rfind('@') + 1);
    return !host.empty() && authority.find('\\') == authority.npos
        && (host.starts_with('[') || host.find_first_of("%()") == host.npos);
}

// Empty when the address has no such part.
std::string partOf(const Address& address, CURLUPart part, unsigned flags = 0)
{
    char* text = nullptr;
    curl_url_get(address.get(), part, &text, flags);
    const std::unique_ptr<char, Releaser<curl_free>> owned(text);
    return text ? text : "";
}

// Reads an address that names a host, as transfers do: nothing is guessed, and the path stays as it is written. Null
// for any other text.
Address read(const std::string& text)
{
    Address address(curl_url());
    constexpr unsigned kAsItIs = CURLU_PATH_AS_IS | CURLU_NON_SUPPORT_SCHEME;
    if (!isPlain(text) || curl_url_set(address.get(), CURLUPART_URL, text.c_str(), kAsItIs)
        || partOf(address, CURLUPART_HOST).empty())
        return nullptr;
    return address;
}

std::string hostOf(const Address& address)
{
    auto host = lowered(partOf(address, CURLUPART_HOST));
    if (host.starts_with('['))
        host = host.substr(1, host.size() - 2);
    // The same letters on another network are another machine.
    const auto zone = partOf(address, CURLUPART_ZONEID);
    return zone.empty() ? host : host + "%" + zone;
}

} // namespace

std::optional<NSURL> NSURL::URLWithString(std::string_view text)
{
    const auto scheme = schemeOf(text);
    if (scheme.empty() || !isPrintableAscii(text))
        return std::nullopt;
    NSURL url(text);
    if (const auto address = read(url.m_text)) {
        url.m_scheme = scheme;
        url.m_host = hostOf(address);
        url.m_port = partOf(address, CURLUPART_PORT, CURLU_NO_DEFAULT_PORT);
    } else if (scheme == "https" || scheme == "http") {
        // (Addresses of other schemes are the engine's to read.)
        return std::nullopt;
    }
    return url;
}

std::optional<NSURL> NSURL::URLWithString(const std::string& reference, const NSURL& base)
{
    // What else libcurl would escape.
    if (!isPrintableAscii(reference))
        return std::nullopt;
    auto text = reference;
    const auto end = reference.find_first_of(":/?#");
    const bool isAbsolute = end != reference.npos && reference[end] == ':';
    // What begins with a scheme or names a host stands for itself, and is not to be mended either.
    if (reference.starts_with("//")) {
        text = base.m_scheme + ":" + reference;
    } else if (!isAbsolute) {
        const auto address = read(base.m_text);
        if (!address || curl_url_set(address.get(), CURLUPART_URL, reference.c_str(), 0))
            return std::nullopt;
        text = partOf(address, CURLUPART_URL);
    }
    return URLWithString(std::string_view(text).substr(0, text.find('#')));
}

OptionalText NSURL::origin() const
{
    if (m_host.empty())
        return std::nullopt;
    auto host = m_host;
    if (const auto zone = host.find('%'); zone != host.npos)
        host.insert(zone + 1, "25");
    if (host.find(':') != host.npos)
        host = "[" + host + "]";
    return m_scheme + "://" + host + (m_port.empty() ? "" : ":") + m_port;
}

bool NSURL::isOriginAlone() const
{
    const auto rest = m_host.empty() ? "" : std::string_view(m_text).substr(m_scheme.size() + 3);
    const auto end = std::min(rest.find_first_of("/?#"), rest.size());
    return !rest.empty() && rest.substr(0, end).find('@') == rest.npos
        && (end == rest.size() || rest.substr(end) == "/");
}

} // namespace tq
