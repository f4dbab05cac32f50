#include "../Foundation/NSURL.h"

#include "GLibPointers.h"

#include <algorithm>

namespace tq {

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

} // namespace tq
