#include "Secret.h"

#include "platform/Foundation/Random.h"

#include <string_view>

namespace tq {

std::string newSecret()
{
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string secret;
    for (int word = 0; word < 4; ++word) {
        auto bits = arc4random();
        for (int digit = 0; digit < 8; ++digit, bits >>= 4U)
            secret += kDigits[bits & 0xFU];
    }
    return secret;
}

} // namespace tq
