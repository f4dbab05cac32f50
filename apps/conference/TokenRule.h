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
    explicit TokenRule(const std::vector<std::string>& tokens);

    bool accepts(std::string_view token) const;

private:
    std::set<std::string, std::less<>> m_tokens;
};

} // namespace tq::conference
