#pragma once

#include "Export.h"
#include "NSTypes.h"

#include <optional>
#include <string>
#include <string_view>

namespace tq {

/// An address that is known to be well formed.
class TQWB_EXPORT NSURL {
public:
    /// Absent when the text is no valid absolute address (a blank, a control character or a byte outside
    /// ASCII in it, a broken host or port). Nothing is escaped.
    static std::optional<NSURL> URLWithString(std::string_view text);

    /// The text, as it was given.
    const std::string& absoluteString() const { return m_text; }

    /// Scheme, host and port, in small letters and without the port that the scheme has anyway: "https://host:8443".
    /// Absent for an address that names no host.
    OptionalText origin() const;
    /// Whether there is no path, query, fragment or user beside the origin; a lone "/" does not count.
    bool isOriginAlone() const;

private:
    explicit NSURL(std::string text)
        : m_text(std::move(text))
    {
    }

    std::string m_text;
};

} // namespace tq
