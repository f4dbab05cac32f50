#pragma once

#include "../WebKit/WKWebView.h"
#include "GLibPointers.h"

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
    struct Observer {
        NSObject* object;
        std::string keyPath;
        void* context;
    };

    /// While one exists, the engine is in the middle of a call to us: no view is destroyed.
    class EngineCall {
    public:
        explicit EngineCall(Impl& impl)
            : self(impl.view.shared_from_this())
        {
            ++s_depth;
        }
        ~EngineCall() { --s_depth; }
        EngineCall(const EngineCall&) = delete;
        EngineCall& operator=(const EngineCall&) = delete;

        const std::shared_ptr<WKWebView> self;
        static inline int s_depth = 0;
    };

    Impl(WKWebView& view, const WKWebViewConfiguration& configuration);
    ~Impl();
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    WebKitSettings* settings() const { return webkit_web_view_get_settings(webView); }
    void apply(const UIScrollView& scrollView);
    void allow(const std::string& failingUri, const std::string& host, GTlsCertificate* certificate);

    static gboolean scriptDialog(WebKitWebView*, WebKitScriptDialog* dialog, gpointer impl);
    static void loadChanged(WebKitWebView*, WebKitLoadEvent event, gpointer impl);
    static void progressChanged(GObject*, GParamSpec*, gpointer impl);
    static gboolean loadFailedWithTlsErrors(WebKitWebView*, const char* failingUri, GTlsCertificate* certificate,
        GTlsCertificateFlags errors, gpointer impl);
    static gboolean authenticate(WebKitWebView*, WebKitAuthenticationRequest* request, gpointer impl);

    WKWebView& view;
    GObjectPointer<GtkWidget> overlay;
    GObjectPointer<WebKitUserContentManager> userContentManager{ webkit_user_content_manager_new() };
    WebKitWebView* webView = nullptr;
    std::vector<SignalConnection> connections;
    std::vector<std::shared_ptr<UIView>> subviews;
    std::vector<Observer> observers;
    GObjectPointer<GtkGesture> pinchBlocker;
    // Challenges that nobody has answered: dropping one would answer it.
    std::vector<GObjectPointer<WebKitAuthenticationRequest>> challenges;
    GObjectPointer<GTlsCertificate> lastAllowedCertificate;
};

} // namespace tq
