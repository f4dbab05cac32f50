#pragma once

#include "../WebKit/WKNavigationDelegate.h"

#include <QSslCertificate>
#include <QString>
#include <QUrl>
#include <functional>
#include <string>

namespace tq {

/// The certificate of a server that the engine did not trust.
class SecTrust {
public:
    QString host;
    QSslCertificate certificate;

    bool operator==(const SecTrust&) const = default;
};

/// Certificates that were accepted while the process runs, for every profile. Main thread.
class AcceptedCertificates {
public:
    static void add(const SecTrust& trust);
    static bool contains(const SecTrust& trust);
};

/// Finds out by a handshake of its own whether the server's certificate is that one, and is good under these anchors
/// (PEM) alone. @param tell called once, later, on the main thread; false also where the server has not answered within
/// 5 seconds.
void checkServer(
    const QUrl& server, const SecTrust& trust, const std::string& anchors, std::function<void(bool isGood)> tell);

} // namespace tq
