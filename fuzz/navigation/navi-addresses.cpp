// A user's token with its list of addresses.

#include "fuzz/support/Fuzz.h"
#include "navigation/NaviAddresses.h"
#include "platform/Foundation/NSURL.h"

namespace tq::fuzz {

void check(std::string_view token)
{
    const TextList defaults{ "https://d.example/config.json" };
    const auto at = token.rfind('@');
    const auto list = at == token.npos ? std::string_view() : token.substr(at + 1);
    const auto expected = list.empty() ? 1U : 2U + static_cast<std::size_t>(std::ranges::count(list, ';'));

    const auto addresses = allNaviServers(OptionalText(token), defaults);
    expect(addresses && addresses->size() == expected, "there is an address for every piece and every default");
    expect(addresses->back() == defaults.back(), "the defaults come last");
    for (const auto& address : *addresses) {
        expect(address.starts_with("http") && address.ends_with("config.json"), "an address has its ends");
        expect(formatCorrectNaviServer(address) == address, "an address that is whole stays as it is");
        const auto url = NSURL::URLWithString(address);
        if (!url)
            continue;
        expect(url->absoluteString() == address, "an address is asked as it is written");
        expect(std::ranges::all_of(address, [](char character) { return character > ' ' && character < '\x7F'; }),
            "an address has neither blanks nor control characters nor letters beyond ASCII");
    }
    expect(!allNaviServers(OptionalText(token), std::nullopt), "without defaults there is no address");
}

} // namespace tq::fuzz
