#pragma once

#include "../WebKit/EngineCall.h"
#include "../WebKit/WKWebView.h"
#include "GLibPointers.h"
#include "ServerCertificates.h"
#include "WidgetStyle.h"

#include <chrono>
#include <string>
#include <vector>
#include <webkit/webkit.h>

namespace tq {

class UIView;

/// The certificate of a server that the engine did not trust.
class SecTrust {
public:
    explicit SecTrust(GTlsCertificate* certificate)
        : certificate(retained(certificate))
    {
    }

    const GObjectPointer<GTlsCertificate> certificate;
};

/// The engine's view, in an overlay that also holds the subviews.
struct WKWebView::Impl {
    /// A call of the engine's that brings this as its data.
    class EngineCall : public tq::EngineCall {
    public:
        explicit EngineCall(gpointer impl)
            : tq::EngineCall(static_cast<Impl*>(impl)->view)
            , m_impl(*static_cast<Impl*>(impl))
        {
        }
        /// The view has ended, or its last reference is gone and its destruction is on its way.
        bool isTooLate() const { return tq::EngineCall::isTooLate() || m_impl.hasEnded; }
        Impl& impl() const { return m_impl; }

    private:
        Impl& m_impl;
    };

    /// A certificate that was accepted for a host.
    struct Exception {
        std::string host;
        GObjectPointer<GTlsCertificate> certificate;
    };

    Impl(WKWebView& view, const WKWebViewConfiguration& configuration);
    ~Impl();
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    WebKitSettings* settings() const { return webkit_web_view_get_settings(webView); }
    void apply(const UIScrollView& scrollView);
    void load(const std::string& uri);
    void loadAgain(const std::string& uri);
    void createEngineView(WebKitNetworkSession* session, WebKitSettings* settings, WebKitWebView* opener);
    GObjectPointer<WebKitWebView> replaceEngineView(WebKitNetworkSession* session);
    bool isSessionWrong() const;
    void chooseSession();
    void end();
    void endPage(std::chrono::milliseconds delay);
    bool isAllowed(const std::string& host, GTlsCertificate* certificate) const;
    void allow(const std::string& host, GTlsCertificate* certificate);
    void allowAndLoad(const std::string& failingUri, const std::string& host, GTlsCertificate* certificate);
    void refuseCertificate();

    void giveToEngine(const std::string& uri);
    void replaceLoad();
    bool endLoad(const GError& error);

    /// A name under which pages send messages, as long as it exists.
    class MessagePort {
        using MessageHandler = WKUserContentController::MessageHandler;

    public:
        MessagePort(Impl& impl, std::string name, MessageHandler handler);
        ~MessagePort();
        MessagePort(const MessagePort&) = delete;
        MessagePort& operator=(const MessagePort&) = delete;

        const std::string& name() const { return m_name; }
        const MessageHandler& handler() const { return m_handler; }

    private:
        static void received(WebKitUserContentManager*, JSCValue* value, gpointer port);
        static gboolean asked(
            WebKitUserContentManager*, JSCValue* value, WebKitScriptMessageReply* reply, gpointer port);

        Impl& m_impl;
        const std::string m_name;
        const MessageHandler m_handler;
        const SignalConnection m_connection;
    };
    void setUserContent(const WKUserContentController& configured, const WKUserContentController& own);

    struct Evaluation;
    static OptionalText textOf(JSCValue* value);

    class PendingDialog;
    bool ask(WebKitScriptDialog* native, const std::shared_ptr<PendingDialog>& dialog);
    enum class TellView : bool { No, Yes };
    void cancelDialogs(TellView tellView);

    void followTouches();
    static gboolean touched(GtkEventController*, GdkEvent* event, gpointer impl);
    static void webProcessTerminated(WebKitWebView*, WebKitWebProcessTerminationReason reason, gpointer impl);
    static GtkWidget* create(WebKitWebView*, WebKitNavigationAction* action, gpointer impl);
    static void close(WebKitWebView*, gpointer impl);
    static gboolean scriptDialog(WebKitWebView*, WebKitScriptDialog* dialog, gpointer impl);
    static void loadChanged(WebKitWebView*, WebKitLoadEvent event, gpointer impl);
    static void progressChanged(GObject*, GParamSpec*, gpointer impl);
    static gboolean loadFailed(
        WebKitWebView*, WebKitLoadEvent event, const char* failingUri, const GError* error, gpointer impl);
    static gboolean decidePolicy(
        WebKitWebView*, WebKitPolicyDecision* decision, WebKitPolicyDecisionType type, gpointer impl);
    static gboolean loadFailedWithTlsErrors(WebKitWebView*, const char* failingUri, GTlsCertificate* certificate,
        GTlsCertificateFlags errors, gpointer impl);
    static void resourceLoadStarted(WebKitWebView*, WebKitWebResource* resource, WebKitURIRequest*, gpointer impl);
    static gboolean authenticate(WebKitWebView*, WebKitAuthenticationRequest* request, gpointer impl);

    static constexpr int kMostRepeats = 5;

    WKWebView& view;
    GObjectPointer<GtkWidget> overlay;
    WidgetStyle style{ overlay.get() };
    GObjectPointer<WebKitUserContentManager> userContentManager{ webkit_user_content_manager_new() };
    std::vector<std::unique_ptr<MessagePort>> messagePorts;
    WebKitWebView* webView = nullptr;
    std::vector<SignalConnection> connections;
    std::vector<SignalConnection> engineConnections;
    // Handshakes that a load waits for; null at other times.
    std::unique_ptr<ServerCertificates> certificates;
    std::vector<std::string> expectedServers;
    std::vector<std::shared_ptr<UIView>> subviews;
    // When the engine's own gesture is asked.
    GtkPropagationPhase pinchPhase = GTK_PHASE_BUBBLE;
    // The page was told how far off the engine's touches are.
    bool areTouchesShifted = false;
    // Dialogs of the page that wait for the application's answer.
    std::vector<std::weak_ptr<PendingDialog>> pendingDialogs;
    // For the next dialog: most are calls, and answered at once.
    std::shared_ptr<PendingDialog> spareDialog;
    // Challenges that nobody has answered: dropping one would answer it.
    std::vector<GObjectPointer<WebKitAuthenticationRequest>> challenges;
    std::vector<Exception> exceptions;
    OptionalText pageOrigin;
    LoadStage loadStage = LoadStage::None;
    // A load was replaced of whose start the engine had not told. The start of which it tells before it asks about
    // another load is that one's.
    bool mayTellOldStart = false;
    // The engine is about to load a page of its own, which tells of a failure.
    bool isExplaining = false;
    // The application has refused the answer to the load that is under way.
    bool isAnswerRefused = false;
    // Nothing is loaded any more.
    bool hasEnded = false;
    // How often the application has asked for a page.
    std::uint64_t loads = 0;
    // The application has asked for another page, which has neither come nor failed.
    bool isLeaving = false;
    // The page that was asked for last.
    std::string requested;
    // How often it has been asked for again, since the engine had lost the load.
    int repeats = 0;
};

} // namespace tq
