#pragma once

#include <ctime>
#include <memory>
#include <string>

namespace tq::test {

/// Signs certificates of any kind, for servers that are not to be trusted and for those that are.
class Authority {
public:
    Authority();
    ~Authority();
    Authority(const Authority&) = delete;
    Authority& operator=(const Authority&) = delete;

    struct Identity {
        std::string host = "localhost";
        std::time_t end = std::time(nullptr) + 3600;
        bool isSelfSigned = false;
    };
    /// A certificate and its private key, as one PEM text.
    std::string identity(const Identity& wanted) const;
    /// The authority's own certificate, as a PEM text.
    std::string certificate() const;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace tq::test
