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
    /// What a reference means that may be relative to another address, without its fragment.
    /// Absent when that is no valid address.
    static std::optional<NSURL> URLWithString(const std::string& reference, const NSURL& base);

    /// The text, as it was given.
    const std::string& absoluteString() const { return m_text; }
    /// In small letters; empty for an address that names no host, as host and port are then.
    const std::string& scheme() const { return m_scheme; }
    /// In small letters; an IPv6 address without its brackets, and with its zone as "%eth0".
    const std::string& host() const { return m_host; }
    /// Empty for the one that the scheme has anyway.
    const std::string& port() const { return m_port; }

    /// Scheme, host and port, in small letters and without the port that the scheme has anyway: "https://host:8443". An
    /// IPv4 address in another spelling ("127.1") gets its usual one.
    /// Absent for an address that names no host.
    OptionalText origin() const;
    /// Whether there is no path, query, fragment or user beside the origin; a lone "/" does not count.
    bool isOriginAlone() const;

private:
    explicit NSURL(std::string_view text)
        : m_text(text)
    {
    }

    std::string m_text;
    std::string m_scheme;
    std::string m_host;
    std::string m_port;
};

} // namespace tq
