// What pages ask their users.

#include "../Foundation/Dispatch.h"
#include "../Foundation/JSONWriter.h"
#include "../Foundation/NSLog.h"
#include "EnginePage.h"
#include "PageScripts.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QWebEngineScriptCollection>
#include <algorithm>
#include <utility>

namespace tq {

// Most questions come from one and the same frame, and reading its address takes a while.
const OptionalText& WKWebView::Impl::originOf(const QUrl& frame)
{
    if (frame != lastFrame) {
        const auto address = NSURL::URLWithString(frame.toEncoded().toStdString());
        lastOrigin = address ? address->origin() : std::nullopt;
        lastFrame = frame;
    }
    return lastOrigin;
}

// @returns whether the delegate has a method for this kind of dialog.
bool WKWebView::Impl::askWith(const QString& kind, std::string_view message, std::string_view text,
    const WKFrameInfo& frame, const std::shared_ptr<PageQuestion>& question)
{
    using Methods = WKUIDelegate::Methods;
    const auto& delegates = view.m_uiDelegate;
    if (kind == "alert") {
        if (const auto delegate = delegates.respondingTo(&Methods::runJavaScriptAlertPanelWithMessage)) {
            delegate->runJavaScriptAlertPanelWithMessage(view, message, frame, [question] { question->answer(""); });
            return true;
        }
    } else if (kind == "confirm") {
        if (const auto delegate = delegates.respondingTo(&Methods::runJavaScriptConfirmPanelWithMessage)) {
            delegate->runJavaScriptConfirmPanelWithMessage(view, message, frame,
                [question](bool isConfirmed) { question->answer(isConfirmed ? OptionalText("") : std::nullopt); });
            return true;
        }
    } else if (const auto delegate = delegates.respondingTo(&Methods::runJavaScriptTextInputPanelWithPrompt)) {
        delegate->runJavaScriptTextInputPanelWithPrompt(
            view, message, text, frame, [question](OptionalText entered) { question->answer(std::move(entered)); });
        return true;
    }
    return false;
}

// @returns null when nobody asks.
std::shared_ptr<PageQuestion> WKWebView::Impl::ask(
    const QUrl& origin, const QString& kind, const QString& message, const QString& text)
{
    const EngineCall call(view);
    // The page of a view that is about to go is not answered, and its user not asked.
    if (call.isTooLate() || hasEnded)
        return nullptr;
    auto question = std::make_shared<PageQuestion>();
    const auto loadsBefore = loads;
    bool isAsked = false;
    runGuarded([&] {
        isAsked
            = askWith(kind, message.toStdString(), QtText(text).view(), WKFrameInfo(view, originOf(origin)), question);
    });
    // The delegate may have asked for another page meanwhile, which this one cannot be left for while it waits.
    if (!isAsked || loads != loadsBefore)
        question->answer(std::nullopt);
    return question;
}

QString WKWebView::Impl::answerOrTicket(const std::shared_ptr<PageQuestion>& question, const char* beforeAnswer)
{
    if (!question)
        return {};
    // One that nobody has kept is cancelled.
    if (!question->isAnswered() && question.use_count() > 1) {
        std::erase_if(questions, [](const auto& pending) { return pending.expired(); });
        std::erase_if(tickets, [](const auto& ticket) { return PageQuestion::isUsed(*ticket); });
        questions.push_back(question);
        tickets.push_back(question->giveTicket());
        return kTicket + PageQuestion::nameOf(*tickets.back());
    }
    auto text = question->takeText();
    if (!text)
        return {};
    const auto answer = answerOf(beforeAnswer, *text);
    JSONWriter::reuse(std::move(*text));
    return answer.isNull() ? QString("") : answer;
}

bool WKWebView::Impl::prompted(const QUrl& origin, const QString& message, const QString& text, QString* answer)
{
    if (message == arrival) {
        pageHasArrived(text);
        return false;
    }
    if (receivedByPrompt(message, text))
        return false;
    if (message == kUnused) {
        takeBack(text);
        return false;
    }
    if (message == kQuestion) {
        const auto parts = QJsonDocument::fromJson(text.toUtf8()).array();
        *answer = answerOrTicket(ask(origin, parts[0].toString(), parts[1].toString(), parts[2].toString()), kAnswer);
    } else {
        *answer = answerOrTicket(ask(origin, "prompt", message, text), "");
    }
    return !answer->isNull();
}

// A page that has no script of ours, and cannot wait; or the engine, about a page that is to be left.
bool WKWebView::Impl::confirmed(const QUrl& origin, const QString& message)
{
    if (isLeaving)
        return true;
    const auto question = ask(origin, "confirm", message, {});
    return question && question->takeText();
}

// A page that may not wait has gone on, as if its user had cancelled.
void WKWebView::Impl::takeBack(const QString& ticket)
{
    const EngineCall call(view);
    const auto isThat = [&](const auto& given) {
        return !PageQuestion::isUsed(*given) && kTicket + PageQuestion::nameOf(*given) == ticket;
    };
    if (!call.isTooLate() && std::ranges::any_of(tickets, isThat))
        cancelDialogs(TellView::Yes);
}

// A page that waits for an answer cannot be left.
void WKWebView::Impl::cancelDialogs(TellView tellView)
{
    tickets.clear();
    for (const auto& weak : std::exchange(questions, {})) {
        if (const auto question = weak.lock())
            question->answer(std::nullopt);
    }
    if (tellView == TellView::Yes)
        view.pageDialogsAreVoid();
}

void WKWebView::Impl::openWindow(QWebEngineNewWindowRequest& request)
{
    const EngineCall call(view);
    const auto delegate = view.m_uiDelegate.respondingTo(&WKUIDelegate::Methods::createWebViewWithConfiguration);
    if (call.isTooLate() || hasEnded || !delegate)
        return;
    const auto given = std::make_shared<WKWebViewConfiguration>(*view.m_configuration);
    given->userContentController
        = std::make_shared<WKUserContentController>(*view.m_configuration->userContentController);
    given->opener = view.weak_from_this();
    const WKNavigationAction navigation{ { .URL
        = NSURL::URLWithString(request.requestedUrl().toEncoded().toStdString()) } };
    std::shared_ptr<WKWebView> created;
    runGuarded(
        [&] { created = delegate->createWebViewWithConfiguration(view, given, navigation, WKWindowFeatures{}); });
    if (created && created->m_configuration != given)
        NSLog(TQWBLogLevel::Warning,
            "a view for a new window is not made with the configuration given for it, and no window is opened");
    else if (created)
        created->m_impl->takeWindow(request);
}

// An empty page, in which no script has run yet.
void WKWebView::Impl::takeWindow(QWebEngineNewWindowRequest& request)
{
    if (!page)
        return;
    hasPage = true;
    request.openIn(page.get());
    for (const auto& script : page->scripts().toList()) {
        if (script.injectionPoint() == QWebEngineScript::DocumentCreation && script.name() != kArrivalName)
            page->runJavaScript(script.sourceCode(), script.worldId());
    }
}

void WKWebView::Impl::closeWindow()
{
    const EngineCall call(view);
    if (call.isTooLate() || hasEnded)
        return;
    if (const auto delegate = view.m_uiDelegate.respondingTo(&WKUIDelegate::Methods::webViewDidClose))
        runGuarded([&] { delegate->webViewDidClose(view); });
}

} // namespace tq
