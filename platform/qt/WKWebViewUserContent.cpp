// Scripts that run in pages, and their values.

#include "../Foundation/Dispatch.h"
#include "../Foundation/NSJSONSerialization.h"
#include "EnginePage.h"
#include "PageScripts.h"

#include <QVariantMap>
#include <QWebEngineScript>
#include <QWebEngineScriptCollection>
#include <cassert>
#include <functional>
#include <utility>

namespace tq {

namespace {

QWebEngineScript scriptFor(const QString& source, quint32 world, WKUserScriptFrames frames,
    WKUserScriptInjectionTime time = WKUserScriptInjectionTime::AtDocumentStart)
{
    QWebEngineScript script;
    script.setSourceCode(source);
    script.setWorldId(world);
    script.setRunsOnSubFrames(frames == WKUserScriptFrames::All);
    script.setInjectionPoint(time == WKUserScriptInjectionTime::AtDocumentStart ? QWebEngineScript::DocumentCreation
                                                                                : QWebEngineScript::DocumentReady);
    return script;
}

// The engine reads where a script is to run from a comment in it.
QString sourceOf(const WKUserScript& script)
{
    if (script.allowList.empty())
        return toQt(script.source);
    QString head = "// ==UserScript==\n";
    for (const auto& pattern : script.allowList)
        head += "// @match " + toQt(pattern) + "\n";
    return head + "// ==/UserScript==\n" + toQt(script.source);
}

// Worlds have numbers here.
quint32 worldOf(const std::string& name)
{
    static std::map<std::string, quint32> s_worlds;
    if (name.empty())
        return QWebEngineScript::MainWorld;
    return s_worlds.emplace(name, QWebEngineScript::UserWorld + quint32(s_worlds.size())).first->second;
}

} // namespace

void WKWebView::Impl::giveUserContent()
{
    if (!page)
        return;
    auto arrived
        = scriptFor(arrivalScript(arrival), QWebEngineScript::ApplicationWorld, WKUserScriptFrames::MainFrameOnly);
    arrived.setName(kArrivalName);
    QList<QWebEngineScript> all{
        arrived,
        scriptFor(
            scrollScript(view.m_scrollView), QWebEngineScript::ApplicationWorld, WKUserScriptFrames::MainFrameOnly),
    };
    addMessageScripts(all);
    all.append(scriptFor(questionScript(), QWebEngineScript::MainWorld, WKUserScriptFrames::All));
    for (const auto* content : { configuration.userContentController.get(), &ownContent }) {
        for (const auto& script : content->userScripts())
            all.append(scriptFor(sourceOf(script), worldOf(script.contentWorld), script.frames, script.injectionTime));
    }
    page->scripts().clear();
    page->scripts().insert(all);
}

std::map<std::string, WKUserContentController::MessageHandler> WKWebView::Impl::messageHandlers() const
{
    auto handlers = ownContent.scriptMessageHandlers();
    const auto& configured = configuration.userContentController->scriptMessageHandlers();
    handlers.insert(configured.begin(), configured.end());
    return handlers;
}

const WKUserContentController::MessageHandler* WKWebView::Impl::messageHandler(const std::string& name) const
{
    for (const auto& content : { std::cref(ownContent), std::cref(*configuration.userContentController) }) {
        const auto& handlers = content.get().scriptMessageHandlers();
        if (const auto found = handlers.find(name); found != handlers.end())
            return &found->second;
    }
    return nullptr;
}

// The main frame has the channel for the page's own world; other frames and worlds send by prompts, which nobody sees.
void WKWebView::Impl::addMessageScripts(QList<QWebEngineScript>& scripts) const
{
    QStringList plain;
    QStringList answering;
    QList<QWebEngineScript> posting;
    for (const auto& [name, handler] : messageHandlers()) {
        const bool isPages = handler.contentWorld.empty();
        if (isPages)
            (handler.answering ? answering : plain).append(toQt(name));
        if (!handler.answering)
            posting.append(scriptFor(postingScript(isPages ? QString(kMessage) : messagePrefix(), toQt(name)),
                worldOf(handler.contentWorld), WKUserScriptFrames::All));
    }
    if (!plain.isEmpty() || !answering.isEmpty())
        scripts.append(scriptFor(
            MessageChannel::script(plain, answering), QWebEngineScript::MainWorld, WKUserScriptFrames::MainFrameOnly));
    scripts.append(posting);
}

// What a prompt brings. @returns whether it is a message.
bool WKWebView::Impl::receivedByPrompt(const QString& prompt, const QString& text)
{
    const bool isPages = prompt.startsWith(kMessage);
    const auto prefix = isPages ? QString(kMessage) : messagePrefix();
    if (!prompt.startsWith(prefix))
        return false;
    const auto name = prompt.mid(prefix.size()).toStdString();
    const auto* handler = messageHandler(name);
    // A page sends to its own world's handlers alone.
    if (handler && handler->contentWorld.empty() == isPages)
        received(name, NSJSONSerialization::JSONObjectWithData(text.toStdString()), nullptr);
    return true;
}

void WKWebView::Impl::received(
    const std::string& name, OptionalValue&& body, const std::shared_ptr<WKScriptMessageReply>& reply)
{
    const EngineCall call(view);
    const auto* found = messageHandler(name);
    if (call.isTooLate() || hasEnded || isPageEnding || !found)
        return;
    // The handler may be taken away while it runs.
    WKScriptMessage message{ name, std::move(body) };
    runGuarded([&, handler = *found] {
        if (handler.answering && reply)
            handler.answering->didReceiveScriptMessage(std::move(message), reply);
        else if (handler.handler)
            handler.handler->didReceiveScriptMessage(message);
    });
}

void WKWebView::setOwnUserContent(const WKUserContentController& content)
{
    assert(isMainThread());
    m_impl->ownContent = content;
    m_impl->giveUserContent();
}

void WKWebView::evaluateJavaScript(std::string_view script)
{
    assert(isMainThread());
    if (m_impl->page && m_impl->hasPage)
        m_impl->page->runJavaScript(toQt(script));
}

void WKWebView::evaluateJavaScript(std::string_view script, EvaluationCompletion completionHandler)
{
    assert(isMainThread());
    const auto id = ++m_impl->lastEvaluation;
    m_impl->evaluations.emplace(id, std::move(completionHandler));
    if (!m_impl->page || !m_impl->hasPage || hasEnded())
        return m_impl->failEvaluations(hasEnded() ? "The view has ended." : "There is no page yet.");
    const auto ended = [weak = weak_from_this(), id](const QVariant& value) {
        if (const auto self = weak.lock())
            self->m_impl->evaluated(id, value);
    };
    m_impl->page->runJavaScript(guardedScript(toQt(script)), QWebEngineScript::MainWorld, ended);
}

void WKWebView::Impl::evaluated(std::uint64_t id, const QVariant& value)
{
    const EngineCall call(view);
    const auto found = evaluations.find(id);
    if (found == evaluations.end())
        return;
    const auto completion = std::move(found->second);
    evaluations.erase(found);
    const bool isText = value.userType() == QMetaType::QString;
    const auto failure = isText ? QString() : value.toMap().value("failure").toString();
    runGuarded([&] {
        if (failure.isNull())
            completion(isText ? OptionalText(value.toString().toStdString()) : std::nullopt, std::nullopt);
        else
            completion(std::nullopt, urlError(NSURLErrorUnknown, failure.toStdString()));
    });
}

// Their page has gone, and the engine says nothing of them any more.
void WKWebView::Impl::failEvaluations(const char* reason)
{
    for (auto& [id, completion] : std::exchange(evaluations, {}))
        dispatchToMain([completion = std::move(completion), reason] {
            completion(std::nullopt, urlError(NSURLErrorCancelled, reason));
        });
}

} // namespace tq
