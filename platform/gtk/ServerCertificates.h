#pragma once

#include "GLibPointers.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tq {

/// Asks servers for the certificates that the system does not trust, by handshakes of its own, all at once. Main
/// thread.
class ServerCertificates {
public:
    /// Told of a certificate that the system does not trust.
    using Take = std::function<void(const std::string& host, GTlsCertificate* certificate)>;

    /// @param servers "https" addresses; others are not asked.
    /// @param done called once, when all have answered, cannot be reached, or have had 5 seconds; at a later turn of
    /// the main loop. Neither is called once this is gone.
    ServerCertificates(const std::vector<std::string>& servers, Take take, std::function<void()> done);
    ~ServerCertificates();
    ServerCertificates(const ServerCertificates&) = delete;
    ServerCertificates& operator=(const ServerCertificates&) = delete;

private:
    struct Round;
    const std::shared_ptr<Round> m_round;
};

} // namespace tq
