#pragma once

#include "../WebKit/EngineCall.h"
#include "../WebKit/WKWebView.h"
#include "MessageChannel.h"
#include "PageQuestion.h"
#include "Profiles.h"
#include "QtText.h"

#include <QAuthenticator>
#include <QColor>
#include <QPointer>
#include <QUrl>
#include <QVariant>
#include <QWebEngineCertificateError>
#include <QWebEngineLoadingInfo>
#include <QWebEngineNewWindowRequest>
#include <QWebEnginePage>
#include <QWebEngineScript>
#include <QWebEngineView>
#include <QWidget>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace tq {

class UIView;

/// The engine's view, in a widget that also holds the subviews.
struct WKWebView::Impl {
    class Page;

    Impl(WKWebView& view, const WKWebViewConfiguration& configuration);
    ~Impl();
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    // The engine's page and view.
    void createPage(const ProfileKind& kind);
    ProfileKind wantedProfile() const;
    void giveUserContent();
    std::map<std::string, WKUserContentController::MessageHandler> messageHandlers() const;
    const WKUserContentController::MessageHandler* messageHandler(const std::string& name) const;
    void addMessageScripts(QList<QWebEngineScript>& scripts) const;
    QString messagePrefix() const { return arrival + "-message-"; }
    bool receivedByPrompt(const QString& prompt, const QString& text);
    void received(const std::string& handler, OptionalValue&& body, const std::shared_ptr<WKScriptMessageReply>& reply);
    void followWheel();
    void showContextMenu(const QPoint& place);

    // Loads.
    void load(const std::string& uri);
    void beginLoad(const std::string& uri);
    void beginLoadLater(const std::string& uri);
    bool mayLeaveFor(const QUrl& url, bool isRedirect);
    void loadBegins();
    void pageHasArrived(const QString& address);
    void loadingChanged(const QWebEngineLoadingInfo& info);
    void progressChanged(int percent);
    void askAboutAnswer(const WKNavigationResponse& response);
    void finishLoad();
    void downloads();
    void endStoppedLoad(const QWebEngineLoadingInfo& info);
    void endLoad(const NSError& error);
    void replaceLoad();
    void pageIsGone(PageEnd how);
    void processTerminated();
    void end();
    void endPage(std::chrono::milliseconds delay);
    void evaluated(std::uint64_t id, const QVariant& value);
    void failEvaluations(const char* reason);

    // Certificates.
    void certificateFailed(QWebEngineCertificateError error);
    void askForTrust(QWebEngineCertificateError error, const SecTrust& trust);
    void authenticate(std::string_view method, const QUrl& url, QAuthenticator& authenticator);

    // What the page asks its user.
    const OptionalText& originOf(const QUrl& frame);
    bool prompted(const QUrl& origin, const QString& message, const QString& text, QString* answer);
    bool confirmed(const QUrl& origin, const QString& message);
    bool askWith(const QString& kind, std::string_view message, std::string_view text, const WKFrameInfo& frame,
        const std::shared_ptr<PageQuestion>& question);
    std::shared_ptr<PageQuestion> ask(
        const QUrl& origin, const QString& kind, const QString& message, const QString& text);
    QString answerOrTicket(const std::shared_ptr<PageQuestion>& question, const char* beforeAnswer);
    void takeBack(const QString& ticket);
    enum class TellView : bool { No, Yes };
    void cancelDialogs(TellView tellView);
    void openWindow(QWebEngineNewWindowRequest& request);
    void takeWindow(QWebEngineNewWindowRequest& request);
    void closeWindow();

    WKWebView& view;
    const WKWebViewConfiguration configuration;
    const QPointer<QWidget> container;
    QPointer<QWebEngineView> engineView;
    MessageChannel messages{ [this](const QString& handler, OptionalValue&& body, const auto& reply) {
        received(handler.toStdString(), std::move(body), reply);
    } };
    std::unique_ptr<Page> page;
    ProfileKind profileKind;
    QString userAgent;
    QColor background = Qt::white;
    std::vector<std::shared_ptr<UIView>> subviews;
    double progress = 0;
    WKUserContentController ownContent;
    // What the script of a new page says it has come by; the page does not know.
    const QString arrival;

    QUrl lastFrame;
    OptionalText lastOrigin;
    std::vector<std::weak_ptr<PageQuestion>> questions;
    std::vector<std::shared_ptr<PageQuestion::Ticket>> tickets;
    std::map<std::uint64_t, EvaluationCompletion> evaluations;
    std::uint64_t lastEvaluation = 0;

    OptionalText pageOrigin;
    LoadStage loadStage = LoadStage::None;
    // The engine has asked whether it may load, and has not said yet that it does.
    bool hasJustBegun = false;
    // Counts those that the engine has begun.
    std::uint64_t lastLoad = 0;
    // Nothing is loaded any more.
    bool hasEnded = false;
    // How often the application has asked for a page.
    std::uint64_t loads = 0;
    // A page has come.
    bool hasPage = false;
    // The application has asked for another page, which has neither come nor failed.
    bool isLeaving = false;
    // The page's process has been ended, and the engine does not know it yet: what the page has sent is not heard any
    // more, and a load that the engine would lose with it waits.
    bool isPageEnding = false;
    OptionalText loadAfterEnd{};
    // It has ended. Pages that follow it get none of our scripts now and then, nor does a later page of another view:
    // the engine mistakes their frames for the dead one. The next load gets a page of its own.
    bool isPageDead = false;
};

} // namespace tq
