#include "BareMessages.h"

#include <QWebEngineScript>
#include <QWebEngineScriptCollection>

namespace tq::bench {

namespace {

// As little as can be between the page and the channel, whose protocol it speaks: 6 calls a method, 10 is the answer.
constexpr const char* kScript = R"js((() => {
    const transport = qt.webChannelTransport;
    const waiting = new Map();
    let last = 0;
    transport.onmessage = ({ data }) => {
        const message = JSON.parse(data);
        if (message.type === 10) {
            waiting.get(message.id)(message.data);
            waiting.delete(message.id);
        }
    };
    const postMessage = (text) => new Promise((resolve) => {
        waiting.set(++last, resolve);
        transport.send(JSON.stringify({ type: 6, object: "bare", method: "take", id: last, args: [text] }));
    });
    window.webkit = { messageHandlers: { bare: { postMessage } } };
})();)js";

} // namespace

BareMessages::BareMessages() { m_channel.registerObject("bare", this); }

void BareMessages::addTo(QWebEnginePage& page)
{
    QWebEngineScript script;
    script.setSourceCode(kScript);
    script.setWorldId(QWebEngineScript::MainWorld);
    script.setInjectionPoint(QWebEngineScript::DocumentCreation);
    page.scripts().insert(script);
    page.setWebChannel(&m_channel);
}

QString BareMessages::take(const QString&) { return R"([0,[[1,true,{"data":"small result"}]],"1"])"; }

} // namespace tq::bench
