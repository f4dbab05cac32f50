#include "../WebKit/WKWebView.h"

#include "../Foundation/Dispatch.h"
#include "../Foundation/NSLog.h"
#include "../UIKit/UIView.h"
#include "TQWhiteBoardLib/gtk/NativeView.h"
#include "WKWebViewImpl.h"

#include <algorithm>
#include <cassert>

namespace tq {

namespace {

GObjectPointer<WebKitSettings> settingsFor(const WKWebViewConfiguration& configuration)
{
    GObjectPointer<WebKitSettings> settings(webkit_settings_new());
    const auto preferences = configuration.preferences ? *configuration.preferences : WKPreferences{};
    webkit_settings_set_media_playback_allows_inline(settings.get(), configuration.allowsInlineMediaPlayback);
    webkit_settings_set_allow_universal_access_from_file_urls(
        settings.get(), configuration.allowUniversalAccessFromFileURLs);
    webkit_settings_set_allow_file_access_from_file_urls(settings.get(), preferences.allowFileAccessFromFileURLs);
    webkit_settings_set_enable_javascript(settings.get(), preferences.javaScriptEnabled);
    webkit_settings_set_javascript_can_open_windows_automatically(
        settings.get(), preferences.javaScriptCanOpenWindowsAutomatically);
    return settings;
}

} // namespace

WKWebView::Impl::Impl(WKWebView& view, const WKWebViewConfiguration& configuration)
    : view(view)
    , overlay(adopted(gtk_overlay_new()))
{
    setUserContent(*configuration.userContentController, {});
    gtk_widget_set_overflow(overlay.get(), GTK_OVERFLOW_HIDDEN);
    const auto opener = configuration.opener.lock();
    createEngineView(nullptr, settingsFor(configuration).get(), opener ? opener->m_impl->webView : nullptr);
    followTouches();
}

// @param session null: the one of all views. @param opener may be null; its session is the new view's, too.
void WKWebView::Impl::createEngineView(WebKitNetworkSession* session, WebKitSettings* settings, WebKitWebView* opener)
{
    const char* inherited = opener ? "related-view" : "network-session";
    webView = static_cast<WebKitWebView*>(
        g_object_new(WEBKIT_TYPE_WEB_VIEW, "user-content-manager", userContentManager.get(), "settings", settings,
            "hexpand", TRUE, "vexpand", TRUE, inherited, opener ? G_OBJECT(opener) : G_OBJECT(session), nullptr));
    gtk_overlay_set_child(GTK_OVERLAY(overlay.get()), GTK_WIDGET(webView));
    auto connect = [this](const char* signal, GCallback handler) {
        engineConnections.emplace_back(webView, signal, handler, this);
    };
    connect("script-dialog", G_CALLBACK(scriptDialog));
    connect("create", G_CALLBACK(create));
    connect("close", G_CALLBACK(close));
    connect("web-process-terminated", G_CALLBACK(webProcessTerminated));
    connect("load-changed", G_CALLBACK(loadChanged));
    connect("notify::estimated-load-progress", G_CALLBACK(progressChanged));
    connect("load-failed", G_CALLBACK(loadFailed));
    connect("load-failed-with-tls-errors", G_CALLBACK(loadFailedWithTlsErrors));
    connect("resource-load-started", G_CALLBACK(resourceLoadStarted));
    connect("authenticate", G_CALLBACK(authenticate));
    connect("decide-policy", G_CALLBACK(decidePolicy));
}

// @param session null: the one of all views.
// @returns the view before, with its page still.
GObjectPointer<WebKitWebView> WKWebView::Impl::replaceEngineView(WebKitNetworkSession* session)
{
    engineConnections.clear();
    auto before = retained(webView);
    GdkRGBA background{};
    webkit_web_view_get_background_color(before.get(), &background);
    createEngineView(session, webkit_web_view_get_settings(before.get()), nullptr);
    webkit_web_view_set_background_color(webView, &background);
    apply(view.m_scrollView);
    pageOrigin.reset();
    challenges.clear();
    isExplaining = false;
    mayTellOldStart = false;
    return before;
}

void WKWebView::Impl::end()
{
    hasEnded = true;
    // Whatever waits for its turn comes too late.
    ++loads;
    certificates.reset();
    view.m_replacedLoads.clear();
    loadStage = LoadStage::None;
    isLeaving = false;
    cancelDialogs(TellView::Yes);
    endPage({});
}

// At a later turn of the main loop: the page may be in the middle of a call to us, and a view that is dropped meanwhile
// needs no other page. Scripts that are under way hold the engine's view, and may have no end: its disposal does not
// wait for them.
void WKWebView::Impl::endPage(std::chrono::milliseconds delay)
{
    dispatchToMainAfter(delay, [weak = view.weak_from_this()] {
        const auto self = weak.lock();
        if (!self)
            return;
        // A loop within a call, such as a dialog's of the application's own.
        if (EngineCall::isUnderWay()) {
            self->m_impl->endPage(std::chrono::milliseconds(20));
            return;
        }
        auto* session = webkit_web_view_get_network_session(self->m_impl->webView);
        g_object_run_dispose(G_OBJECT(self->m_impl->replaceEngineView(session).get()));
    });
}

WKWebView::Impl::~Impl()
{
    certificates.reset();
    engineConnections.clear();
    connections.clear();
    messagePorts.clear();
    cancelDialogs(TellView::No);
    // The engine's view lives on while the page runs a script of ours. What that asks is answered by nobody, and not by
    // a dialog that the engine shows where nobody sees it.
    g_signal_connect(webView, "script-dialog",
        G_CALLBACK(+[](WebKitWebView*, WebKitScriptDialog*, gpointer) -> gboolean { return TRUE; }), nullptr);
    for (const auto& subview : subviews)
        gtk_overlay_remove_overlay(GTK_OVERLAY(overlay.get()), static_cast<GtkWidget*>(subview->nativeHandle()));
    // The application's window may keep the overlay; the page ends here all the same.
    const auto page = retained(webView);
    gtk_overlay_set_child(GTK_OVERLAY(overlay.get()), nullptr);
    if (hasEnded)
        g_object_run_dispose(G_OBJECT(page.get()));
}

void WKWebView::Impl::apply(const UIScrollView& scrollView)
{
    webkit_user_content_manager_remove_all_style_sheets(userContentManager.get());
    if (!scrollView.scrollEnabled || !scrollView.panGestureRecognizerEnabled) {
        // A body that scrolls in a usual page does so in the viewport's name; with a root that clips it would be a
        // scrolling area of its own. Visible, it is cut off by the root and lies where it always did.
        auto* sheet = webkit_user_style_sheet_new(
            "html { overflow: hidden !important } html > body { overflow: visible !important }",
            WEBKIT_USER_CONTENT_INJECT_TOP_FRAME, WEBKIT_USER_STYLE_LEVEL_USER, nullptr, nullptr);
        webkit_user_content_manager_add_style_sheet(userContentManager.get(), sheet);
        webkit_user_style_sheet_unref(sheet);
    }
    // A gesture of our own would compete with the engine's for the fingers; without its own one, all of them are the
    // page's.
    const GObjectPointer<GListModel> controllers(gtk_widget_observe_controllers(GTK_WIDGET(webView)));
    for (guint i = 0; i < g_list_model_get_n_items(controllers.get()); ++i) {
        const GObjectPointer<GtkEventController> controller(
            static_cast<GtkEventController*>(g_list_model_get_item(controllers.get(), i)));
        if (!GTK_IS_GESTURE_ZOOM(controller.get()))
            continue;
        const auto phase = gtk_event_controller_get_propagation_phase(controller.get());
        pinchPhase = phase == GTK_PHASE_NONE ? pinchPhase : phase;
        gtk_event_controller_set_propagation_phase(
            controller.get(), scrollView.pinchGestureRecognizerEnabled ? pinchPhase : GTK_PHASE_NONE);
    }
}

void WKWebView::Impl::progressChanged(GObject*, GParamSpec*, gpointer impl)
{
    const EngineCall call(impl);
    if (call.isTooLate())
        return;
    call.impl().view.progressHasChanged();
}

WKWebView::WKWebView(Token) { }

WKWebView::~WKWebView() = default;

bool WKWebView::isDisplayAvailable()
{
    if (gtk_init_check())
        return true;
    NSLog(TQWBLogLevel::Error, "a web view needs a display, and there is none");
    return false;
}

void WKWebView::initialize(CGRect frame, std::shared_ptr<WKWebViewConfiguration> configuration)
{
    assert(isMainThread());
    m_frame = frame;
    m_configuration = std::move(configuration);
    m_impl = std::make_unique<Impl>(*this, *m_configuration);
}

void WKWebView::loadRequest(const NSMutableURLRequest& request)
{
    assert(isMainThread());
    if (!request.URL || hasEnded())
        return;
    m_impl->replaceLoad();
    ++m_impl->loads;
    m_impl->repeats = 0;
    m_impl->load(request.URL->absoluteString());
}

void WKWebView::expectServers(std::vector<std::string> servers) { m_impl->expectedServers = std::move(servers); }

void WKWebView::end()
{
    assert(isMainThread());
    m_navigationDelegate.clear();
    if (!hasEnded())
        m_impl->end();
}

bool WKWebView::hasEnded() const { return m_impl->hasEnded; }

bool WKWebView::isLeavingPage() const { return m_impl->isLeaving; }

void WKWebView::evaluateJavaScript(std::string_view script)
{
    assert(isMainThread());
    if (hasEnded())
        return;
    webkit_web_view_evaluate_javascript(m_impl->webView, script.data(), static_cast<gssize>(script.size()), nullptr,
        nullptr, nullptr, nullptr, nullptr);
}

// A script that has been sent, and who waits for its value.
struct WKWebView::Impl::Evaluation {
    std::weak_ptr<WKWebView> view;
    EvaluationCompletion completion;

    static void ended(GObject* webView, GAsyncResult* result, gpointer data)
    {
        const std::unique_ptr<Evaluation> self(static_cast<Evaluation*>(data));
        GError* failure = nullptr;
        const GObjectPointer<JSCValue> value(
            webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(webView), result, &failure));
        const GErrorPointer error(failure);
        const auto view = self->view.lock();
        std::optional<EngineCall> call;
        if (view)
            call.emplace(view->m_impl.get());
        // What the engine cannot carry is a value, but no text.
        const bool isOther = g_error_matches(failure, WEBKIT_JAVASCRIPT_ERROR, WEBKIT_JAVASCRIPT_ERROR_INVALID_RESULT);
        runGuarded([&] {
            if (value || isOther)
                self->completion(value ? textOf(value.get()) : std::nullopt, std::nullopt);
            else
                self->completion(std::nullopt, urlError(NSURLErrorUnknown, error ? error->message : "no value"));
        });
    }
};

void WKWebView::evaluateJavaScript(std::string_view script, EvaluationCompletion completionHandler)
{
    assert(isMainThread());
    if (hasEnded()) {
        dispatchToMain([completion = std::move(completionHandler)] {
            completion(std::nullopt, urlError(NSURLErrorCancelled, "The view has ended."));
        });
        return;
    }
    auto* evaluation = new Impl::Evaluation{ weak_from_this(), std::move(completionHandler) };
    webkit_web_view_evaluate_javascript(m_impl->webView, script.data(), static_cast<gssize>(script.size()), nullptr,
        nullptr, nullptr, Impl::Evaluation::ended, evaluation);
}

void WKWebView::terminatePage() { webkit_web_view_terminate_web_process(m_impl->webView); }

const OptionalText& WKWebView::pageOrigin() const { return m_impl->pageOrigin; }

OptionalText WKWebView::URL() const
{
    const char* uri = webkit_web_view_get_uri(m_impl->webView);
    return uri ? OptionalText(uri) : std::nullopt;
}

double WKWebView::estimatedProgress() const { return webkit_web_view_get_estimated_load_progress(m_impl->webView); }

void WKWebView::setCustomUserAgent(const std::string& userAgent)
{
    webkit_settings_set_user_agent(m_impl->settings(), userAgent.c_str());
}

void WKWebView::setInspectable(bool inspectable)
{
    webkit_settings_set_enable_developer_extras(m_impl->settings(), inspectable);
}

void WKWebView::setBackgroundColor(UIColor color)
{
    const GdkRGBA native{ color.red, color.green, color.blue, color.alpha };
    webkit_web_view_set_background_color(m_impl->webView, &native);
    // The engine's view is clear until the first page is painted.
    m_impl->style.setRules(m_impl->style.selector() + " { background: " + cssColor(color) + "; }");
}

void WKWebView::setScrollView(const UIScrollView& scrollView)
{
    m_scrollView = scrollView;
    m_impl->apply(scrollView);
}

void WKWebView::addSubview(const std::shared_ptr<UIView>& view)
{
    if (!view)
        return;
    gtk_overlay_add_overlay(GTK_OVERLAY(m_impl->overlay.get()), static_cast<GtkWidget*>(view->nativeHandle()));
    m_impl->subviews.push_back(view);
}

void WKWebView::bringSubviewToFront(const std::shared_ptr<UIView>& view)
{
    if (!view)
        return;
    auto* widget = static_cast<GtkWidget*>(view->nativeHandle());
    if (gtk_widget_get_parent(widget) == m_impl->overlay.get())
        gtk_widget_insert_before(widget, m_impl->overlay.get(), nullptr);
}

void* WKWebView::nativeHandle() const { return m_impl->overlay.get(); }

GtkWidget* nativeView(const WKWebView& view) { return static_cast<GtkWidget*>(view.nativeHandle()); }

} // namespace tq
