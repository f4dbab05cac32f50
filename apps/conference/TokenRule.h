#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace tq::conference {

/// Says which tokens are right. A token may carry navigation addresses behind an "@"; only the text before the first
/// "@" counts.
class TokenRule {
public:
    /// With no tokens listed every token is right except an empty one and "wrong".
    explicit TokenRule(const std::vector<std::string>& tokens)
    {
        for (const auto& token : tokens)
            m_secrets.emplace(secretOf(token));
    }

    bool accepts(std::string_view token) const
    {
        const auto secret = secretOf(token);
        return m_secrets.empty() ? !secret.empty() && secret != "wrong" : m_secrets.contains(secret);
    }

private:
    static std::string_view secretOf(std::string_view token) { return token.substr(0, token.find('@')); }

    std::set<std::string, std::less<>> m_secrets;
};

} // namespace tq::conference
