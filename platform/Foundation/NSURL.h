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
    /// Absent when the text is no valid absolute address: no scheme, a blank, a control character or a byte outside
    /// ASCII in it; for http and https also no host after exactly two slashes, a broken port, a backslash or an escape
    /// in the host. Nothing is escaped or mended.
    static std::optional<NSURL> URLWithString(std::string_view text);

    /// The text, as it was given.
    const std::string& absoluteString() const { return m_text; }

    /// Scheme, host and port, in small letters and without the port that the scheme has anyway: "https://host:8443". An
    /// IPv4 address in another spelling ("127.1") gets its usual one.
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
