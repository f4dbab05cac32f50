#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tq {

/// An address that is known to be well formed.
class NSURL {
public:
    /// Absent when the text is no valid absolute address (a blank, a control character or a byte outside
    /// ASCII in it, a broken host or port). Nothing is escaped.
    static std::optional<NSURL> URLWithString(std::string_view text);

    const std::string& absoluteString() const { return m_text; }

private:
    explicit NSURL(std::string text)
        : m_text(std::move(text))
    {
    }

    std::string m_text;
};

} // namespace tq
