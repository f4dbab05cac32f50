#include "ServerTrust.h"

#include <QSslConfiguration>
#include <QSslSocket>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <memory>
#include <utility>
#include <vector>

namespace tq {

namespace {

constexpr std::chrono::seconds kPatience{ 5 };

std::vector<SecTrust>& accepted()
{
    static auto& s_accepted = *new std::vector<SecTrust>;
    return s_accepted;
}

} // namespace

void AcceptedCertificates::add(const SecTrust& trust)
{
    if (!contains(trust))
        accepted().push_back(trust);
}

bool AcceptedCertificates::contains(const SecTrust& trust)
{
    return std::ranges::find(accepted(), trust) != accepted().end();
}

void checkServer(
    const QUrl& server, const SecTrust& trust, const std::string& anchors, std::function<void(bool isGood)> tell)
{
    auto* socket = new QSslSocket;
    auto configuration = QSslConfiguration::defaultConfiguration();
    configuration.setCaCertificates(QSslCertificate::fromData(QByteArray::fromStdString(anchors), QSsl::Pem));
    configuration.setPeerVerifyMode(QSslSocket::VerifyPeer);
    socket->setSslConfiguration(configuration);
    const auto end = [socket, tell = std::move(tell)](bool isGood) {
        QObject::disconnect(socket, nullptr, nullptr, nullptr);
        socket->abort();
        socket->deleteLater();
        tell(isGood);
    };
    QObject::connect(socket, &QSslSocket::encrypted, socket,
        [socket, end, trust] { end(socket->peerCertificate() == trust.certificate); });
    QObject::connect(socket, &QAbstractSocket::errorOccurred, socket, [end] { end(false); });
    QTimer::singleShot(kPatience, socket, [end] { end(false); });
    socket->connectToHostEncrypted(server.host(), quint16(server.port(443)));
}

} // namespace tq
