#include "MessageChannel.h"

#include "../Foundation/NSJSONSerialization.h"
#include "QtText.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QMetaMethod>
#include <QPointer>
#include <utility>

namespace tq {

namespace {

constexpr const char* kName = "_tqmessages";

// Speaks the protocol of the engine's channel: 6 calls a method, 7 asks for a signal; 10 is a method's answer, and 1 a
// signal. Takes what it needs of the page's globals before a script of the page can change them.
constexpr const char* kScript = R"js((() => {
    "use strict";
    const transport = window.qt?.webChannelTransport;
    if (!transport)
        return;
    const { parse, stringify } = JSON;
    const send = transport.send.bind(transport);
    const object = "%1";
    const waiting = new Map();
    let last = 0;

    function settle(id, answer) {
        const wait = waiting.get(id);
        if (!wait || !answer)
            return;
        waiting.delete(id);
        if (answer[0] === "+")
            wait.resolve(answer.slice(1));
        else
            wait.reject(new Error(answer.slice(1)));
    }
    transport.onmessage = ({ data }) => {
        const message = parse(data);
        if (message.type === 10)
            settle(message.id, message.data);
        else if (message.type === 1)
            settle(...message.args);
    };
    send(stringify({ type: 7, object, signal: %2 }));

    function post(handler, value, id) {
        const isText = typeof value === "string";
        let body = "";
        try {
            body = isText ? value : stringify(value) ?? "";
        } catch {
        }
        send(stringify({ type: 6, object, method: "take", id: ++last, args: [handler, body, isText, id] }));
    }
    const ask = (handler, value) => new Promise((resolve, reject) => {
        const id = last + 1;
        waiting.set(id, { resolve, reject });
        post(handler, value, id);
    });
    const handlers = {};
    for (const name of %3)
        handlers[name] = { postMessage: (value) => post(name, value, 0) };
    for (const name of %4)
        handlers[name] = { postMessage: (value) => ask(name, value) };
    window.webkit = { messageHandlers: handlers };
})();)js";

QString listOf(const QStringList& names)
{
    return QJsonDocument(QJsonArray::fromStringList(names)).toJson(QJsonDocument::Compact);
}

// Kept for the page until somebody answers.
class Reply final : public WKScriptMessageReply {
public:
    Reply(MessageChannel* channel, double id)
        : m_channel(channel)
        , m_id(id)
    {
    }
    ~Reply() override { returnError("nobody has answered"); }
    Reply(const Reply&) = delete;
    Reply& operator=(const Reply&) = delete;

    void returnText(std::string_view text) override { answer('+' + toQt(text)); }
    void returnError(std::string_view message) override { answer('-' + toQt(message)); }

    // What has been answered until now; from now on answers travel by themselves.
    QString takeEarly()
    {
        m_isEarly = false;
        return std::exchange(m_early, {});
    }

private:
    void answer(QString text)
    {
        if (std::exchange(m_isAnswered, true))
            return;
        if (m_isEarly)
            m_early = std::move(text);
        else if (m_channel)
            Q_EMIT m_channel->answered(m_id, text);
    }

    const QPointer<MessageChannel> m_channel;
    const double m_id;
    QString m_early;
    bool m_isEarly = true;
    bool m_isAnswered = false;
};

} // namespace

MessageChannel::MessageChannel(Take take)
    : m_take(std::move(take))
{
    m_channel.registerObject(kName, this);
}

QString MessageChannel::script(const QStringList& plain, const QStringList& answering)
{
    const int signal = staticMetaObject.indexOfSignal("answered(double,QString)");
    return QString(kScript).arg(kName, QString::number(signal), listOf(plain), listOf(answering));
}

QString MessageChannel::take(const QString& handler, const QString& body, bool isText, double id)
{
    auto text = body.toStdString();
    auto value = isText ? OptionalValue(boost::json::value(text)) : NSJSONSerialization::JSONObjectWithData(text);
    if (id == 0) {
        m_take(handler, std::move(value), nullptr);
        return {};
    }
    const auto reply = std::make_shared<Reply>(this, id);
    m_take(handler, std::move(value), reply);
    // One that nobody has kept is refused.
    if (reply.use_count() == 1)
        reply->returnError("nobody has answered");
    return reply->takeEarly();
}

} // namespace tq
