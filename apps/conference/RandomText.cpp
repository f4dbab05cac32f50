#include "RandomText.h"

#include <gnutls/crypto.h>
#include <gnutls/gnutls.h>

#include <array>
#include <stdexcept>
#include <string_view>

namespace tq::conference {

std::string randomText()
{
    constexpr std::string_view s_alphabet = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_";
    std::array<unsigned char, 32> bytes{};
    if (gnutls_rnd(GNUTLS_RND_KEY, bytes.data(), bytes.size()) < 0)
        throw std::runtime_error("the system has no random numbers");
    std::string text;
    for (const auto byte : bytes)
        text += s_alphabet[byte % s_alphabet.size()];
    return text;
}

} // namespace tq::conference
