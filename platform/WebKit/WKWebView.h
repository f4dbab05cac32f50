#pragma once

#include "../Foundation/Export.h"
#include "../Foundation/NSError.h"
#include "../Foundation/NSObject.h"
#include "../Foundation/NSURLRequest.h"
#include "../UIKit/CGGeometry.h"
#include "../UIKit/UIColor.h"
#include "../UIKit/UIScrollView.h"
#include "WKNavigationDelegate.h"
#include "WKUIDelegate.h"
#include "WKWebViewConfiguration.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tq {

class UIView;

/// A view that shows a web page. Made and used on the main thread only; the last reference may be dropped on any
/// thread, the view is then destroyed on the main thread.
class TQWB_EXPORT WKWebView : public NSObject, public std::enable_shared_from_this<WKWebView> {
public:
    ~WKWebView() override;

    /// The place that the view was made for.
    const CGRect& frame() const { return m_frame; }
    /// What the view was made with; never null.
    const std::shared_ptr<WKWebViewConfiguration>& configuration() const { return m_configuration; }

    /// Loads a page. A request without an address has no effect, and none has once the view has ended.
    void loadRequest(const NSMutableURLRequest& request);
    /// Names servers that the pages to come will ask, by fetch, WebSocket or otherwise, beside their own. Where the
    /// application has given extra trust anchors, none of their connections fails first then: a load begins with a look
    /// at the certificates of the page's own server and of these, unless the port's engine asks about each server when
    /// it meets it (Qt's). Replaces the names given before.
    /// @param servers "https://host:port"; others have no effect.
    void expectServers(std::vector<std::string> servers);
    /// Runs a script in the page, at once and without an answer. Scripts run in the order of the calls; one that is
    /// sent before the first page is lost.
    void evaluateJavaScript(std::string_view script);
    /// What becomes of a script: the text that is its value (absent for any other value), and why there is no value.
    /// No value is there either where the script threw, or the page or its process went away meanwhile.
    using EvaluationCompletion = std::function<void(OptionalText value, std::optional<NSError> error)>;
    /// The same with an answer. @param completionHandler called once, later, on the main thread.
    void evaluateJavaScript(std::string_view script, EvaluationCompletion completionHandler);
    /// The origin of the page that runs in the view, however it came there, and not of one that is still to come.
    /// Absent before the first page and for pages without a host, such as "about:" and "data:" ones.
    const OptionalText& pageOrigin() const;
    /// The page's address; absent before the first page.
    OptionalText URL() const;
    /// How much of the page has arrived, from 0 to 1.
    double estimatedProgress() const;

    /// Registers for changes of a property; only "estimatedProgress" changes observably.
    /// @param observer not held: it must remove itself before it goes.
    void addObserver(NSObject* observer, std::string_view keyPath, void* context);
    /// Ends what `addObserver` began; nothing happens when nothing was begun.
    void removeObserver(NSObject* observer, std::string_view keyPath);

    /// The user interface's delegate, held weakly. The view itself may be its own.
    template <DelegateOf<WKUIDelegate> Delegate> void setUIDelegate(const std::shared_ptr<Delegate>& delegate)
    {
        m_uiDelegate.set(delegate);
    }
    /// A temporary would be gone at once, since nobody else holds it: keep the delegate, and give that.
    template <DelegateOf<WKUIDelegate> Delegate>
    void setUIDelegate(const std::shared_ptr<Delegate>&& delegate) = delete;
    /// The navigation delegate, held weakly. The view itself may be its own.
    template <DelegateOf<WKNavigationDelegate> Delegate>
    void setNavigationDelegate(const std::shared_ptr<Delegate>& delegate)
    {
        m_navigationDelegate.set(delegate);
    }
    /// A temporary would be gone at once, since nobody else holds it: keep the delegate, and give that.
    template <DelegateOf<WKNavigationDelegate> Delegate>
    void setNavigationDelegate(const std::shared_ptr<Delegate>&& delegate) = delete;
    /// Absent when none was set or it is gone.
    std::shared_ptr<WKUIDelegate> UIDelegate() const { return m_uiDelegate.get(); }
    /// Absent when none was set or it is gone.
    std::shared_ptr<WKNavigationDelegate> navigationDelegate() const { return m_navigationDelegate.get(); }

    /// Replaces the whole user agent text of every request.
    void setCustomUserAgent(const std::string& userAgent);
    /// Whether the engine's inspector can be opened on the page, by "Inspect Element" in the page's menu; not so at
    /// first.
    void setInspectable(bool inspectable);
    /// What is seen where the page has not drawn.
    void setBackgroundColor(UIColor color);
    /// The colour of the engine's own controls, where the port has any.
    UIColor tintColor() const { return m_tintColor; }
    /// Keeps a colour for the controls.
    void setTintColor(UIColor color) { m_tintColor = color; }
    /// How the page may be moved.
    const UIScrollView& scrollView() const { return m_scrollView; }
    /// Changes how the page may be moved, from now on.
    void setScrollView(const UIScrollView& scrollView);

    /// Lays a view over the page, above the others there. Absent: nothing happens.
    void addSubview(const std::shared_ptr<UIView>& view);
    /// Moves a view above the others. Absent, or a view that does not lie over this page: nothing happens.
    void bringSubviewToFront(const std::shared_ptr<UIView>& view);

    /// The port's own object behind the view (for GTK a `GtkWidget*`), owned by the view.
    void* nativeHandle() const;

protected:
    /// Only `make` has one to give, so that every view is made by it.
    class Token {
        friend class WKWebView;
        Token() = default;
    };
    /// For `make`.
    explicit WKWebView(Token);

    /// Makes the platform's view. A class that overrides it calls its base's.
    virtual void initialize(CGRect frame, std::shared_ptr<WKWebViewConfiguration> configuration);

    /// Gives the view scripts and message handlers of its own, beside those of its configuration and after them, in
    /// place of earlier ones. Scripts are for pages that begin to load from now on. A handler that is there no more
    /// gets no message any more.
    void setOwnUserContent(const WKUserContentController& content);

    /// Told that nobody waits for the answers of the page's dialogs any more: another page is coming or has come, or
    /// the page's process has ended.
    virtual void pageDialogsAreVoid() { }
    /// How a page has gone.
    enum class PageEnd {
        /// Another one has come.
        Replaced,
        /// Its process has ended.
        ProcessEnded
    };
    /// Told that the page has gone. Messages of it may still come.
    virtual void pageHasGone(PageEnd) { }
    /// Ends the process of the page, as if it had died.
    void terminatePage();
    /// Ends the view for good, without asking the page: its script, timers and connections end at a later turn of the
    /// main loop, nothing is loaded or run in it any more, and no delegate is told of anything. Main thread; at any
    /// time, more than once too. A class that overrides it calls its base's.
    virtual void end();
    /// Whether `end` was called.
    bool hasEnded() const;
    /// Whether the application has asked for another page and this one still runs. It gets no answers from its user
    /// then: a page that waits for one cannot be left.
    bool isLeavingPage() const;

    /// Whether the pages of this view may come from servers with any certificate, and ask such servers. Asked at each
    /// load. Such a view keeps nothing of its pages (cookies, storage) but in memory, apart from other views.
    virtual bool acceptsEveryCertificate() const { return false; }

    /// Makes a view of the class and initialises it; every view comes from here.
    /// @param configuration absent: the default one.
    /// @returns absent, with a log line, when there is no display to show a view on.
    template <class View>
    static std::shared_ptr<View> make(CGRect frame, std::shared_ptr<WKWebViewConfiguration> configuration)
    {
        if (!isDisplayAvailable())
            return nullptr;
        std::shared_ptr<View> view(new View(Token()), [](View* pointer) { destroyOnMainThread(pointer); });
        static_cast<WKWebView&>(*view).initialize(
            frame, configuration ? std::move(configuration) : std::make_shared<WKWebViewConfiguration>());
        return view;
    }

private:
    static bool isDisplayAvailable();
    static void destroyOnMainThread(WKWebView* view);

    // For ports.

    struct Observer {
        NSObject* object;
        std::string keyPath;
        void* context;
    };
    // How far the load is that was asked for or has begun last. What an engine tells may not say of which load it
    // speaks: each begins with its start, so what comes before that is about an older one.
    enum class LoadStage {
        // It has ended, or there was none.
        None,
        // It is not the engine's yet: handshakes, a decision of the application or a later turn of the main loop.
        Waiting,
        // It has been handed to the engine.
        Asked,
        // The engine has begun it.
        Provisional,
        // Its page has begun to come.
        Committed
    };

    // Asks the delegate whether the page may be left for that one.
    bool allowsLoad(const std::string& address);
    // Tells the observers of the progress.
    void progressHasChanged();
    // @returns whether there is somebody to tell.
    bool tellFailure(LoadStage failedIn, const NSError& error);
    // The application has asked for another page: the engine's word of the old load's end would come too late or not at
    // all. It is told of at a later turn of the main loop, or before what is told of the next load.
    void loadIsReplaced(LoadStage stage);
    void tellOfReplacedLoads();

    struct TQWB_HIDDEN Impl;
    CGRect m_frame;
    std::shared_ptr<WKWebViewConfiguration> m_configuration;
    WeakDelegate<WKUIDelegate> m_uiDelegate;
    WeakDelegate<WKNavigationDelegate> m_navigationDelegate;
    UIScrollView m_scrollView;
    UIColor m_tintColor = UIColor::systemBlueColor();
    std::vector<Observer> m_observers;
    // Loads that another one took the place of, and of whose end nobody has been told yet: how far they were.
    std::vector<LoadStage> m_replacedLoads;
    std::unique_ptr<Impl> m_impl;
};

} // namespace tq
