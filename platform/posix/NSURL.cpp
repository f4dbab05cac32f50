#include "../Foundation/NSURL.h"

#include "CurlAddress.h"

#include <algorithm>

namespace tq {

namespace {

bool isLetter(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
}

bool isOfScheme(char character)
{
    return isLetter(character) || (character >= '0' && character <= '9')
        || std::string_view("+-.").find(character) != std::string_view::npos;
}

bool beginsWithScheme(std::string_view text)
{
    const auto scheme = text.substr(0, text.find(':'));
    return scheme.size() < text.size() && !scheme.empty() && isLetter(scheme.front())
        && std::ranges::all_of(scheme, isOfScheme);
}

// Addresses of other schemes are the engine's to read.
bool isForTransfers(std::string_view text)
{
    const auto begins = [text](std::string_view scheme) {
        return text.size() >= scheme.size()
            && std::ranges::equal(text.substr(0, scheme.size()), scheme,
                [](char one, char other) { return one == other || (isLetter(one) && (one | 0x20) == other); });
    };
    return begins("https:") || begins("http:");
}

} // namespace

std::optional<NSURL> NSURL::URLWithString(std::string_view text)
{
    std::string address(text);
    const bool isPrintableAscii
        = std::ranges::all_of(address, [](char character) { return character > ' ' && character < 0x7F; });
    if (!isPrintableAscii || !beginsWithScheme(address) || (isForTransfers(address) && !readCurlAddress(address)))
        return std::nullopt;
    return NSURL(std::move(address));
}

OptionalText NSURL::origin() const
{
    const auto origin = originOf(m_text);
    if (!origin)
        return std::nullopt;
    return origin->scheme + "://" + origin->host + (origin->port.empty() ? "" : ":") + origin->port;
}

bool NSURL::isOriginAlone() const
{
    if (!readCurlAddress(m_text))
        return false;
    const auto rest = std::string_view(m_text).substr(m_text.find(':') + 3);
    const auto end = std::min(rest.find_first_of("/?#"), rest.size());
    return rest.substr(0, end).find('@') == rest.npos && (end == rest.size() || rest.substr(end) == "/");
}

} // namespace tq
