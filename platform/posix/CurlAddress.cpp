#include "CurlAddress.h"

#include <algorithm>
#include <string_view>

namespace tq {

namespace {

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
std::string partOf(const CurlAddress& address, CURLUPart part, unsigned flags = 0)
{
    char* text = nullptr;
    curl_url_get(address.get(), part, &text, flags);
    const CurlText owned(text);
    return text ? text : "";
}

std::string lowered(std::string text)
{
    std::ranges::transform(text, text.begin(), [](char character) {
        return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
    });
    return text;
}

} // namespace

CurlAddress readCurlAddress(const std::string& text)
{
    CurlAddress address(curl_url());
    constexpr unsigned kAsItIs = CURLU_PATH_AS_IS | CURLU_NON_SUPPORT_SCHEME;
    if (!isPlain(text) || curl_url_set(address.get(), CURLUPART_URL, text.c_str(), kAsItIs)
        || partOf(address, CURLUPART_HOST).empty())
        return nullptr;
    return address;
}

std::optional<Origin> originOf(const std::string& text)
{
    const auto address = readCurlAddress(text);
    if (!address)
        return std::nullopt;
    Origin origin{ lowered(partOf(address, CURLUPART_SCHEME)), lowered(partOf(address, CURLUPART_HOST)),
        partOf(address, CURLUPART_PORT, CURLU_NO_DEFAULT_PORT) };
    // The same letters on another network are another machine.
    if (const auto zone = partOf(address, CURLUPART_ZONEID); !zone.empty())
        origin.host.insert(origin.host.size() - 1, "%25" + zone);
    return origin;
}

std::string resolveCurlAddress(const std::string& base, const std::string& reference)
{
    // These libcurl would escape.
    if (!std::ranges::all_of(reference, [](char character) { return character > ' ' && character < 0x7F; }))
        return {};
    // What begins with a scheme or names a host stands for itself, and is not to be mended either.
    if (const auto end = reference.find_first_of(":/?#"); end != reference.npos && reference[end] == ':')
        return reference;
    const auto address = readCurlAddress(base);
    if (reference.starts_with("//"))
        return partOf(address, CURLUPART_SCHEME) + ":" + reference;
    if (!address || curl_url_set(address.get(), CURLUPART_URL, reference.c_str(), 0))
        return {};
    return partOf(address, CURLUPART_URL);
}

} // namespace tq
