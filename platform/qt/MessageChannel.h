#pragma once

#include "../WebKit/WKScriptMessageHandler.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QWebChannel>
#include <functional>
#include <memory>

namespace tq {

/// The way by which scripts of a page's main frame send messages without stopping the page: the engine's web channel.
/// It knows no other worlds than the one that it is installed in, and no frames.
class MessageChannel : public QObject {
    Q_OBJECT

public:
    /// @param reply null where nobody waits for one.
    using Take = std::function<void(
        const QString& handler, OptionalValue&& body, const std::shared_ptr<WKScriptMessageReply>& reply)>;

    explicit MessageChannel(Take take);

    QWebChannel* channel() { return &m_channel; }
    /// For the start of pages: gives them handlers of these names. @param answering those whose messages are answered.
    static QString script(const QStringList& plain, const QStringList& answering);

    /// The page's end calls this. @param id of the message; 0: it is not to be answered. @param isText whether the body
    /// is a text as it stands, and no JSON. @returns what there is to say already: "+" and a text, "-" and an error.
    Q_INVOKABLE QString take(const QString& handler, const QString& body, bool isText, double id);

Q_SIGNALS:
    /// A message is answered later.
    void answered(double id, const QString& answer);

private:
    const Take m_take;
    QWebChannel m_channel;
};

} // namespace tq
