#pragma once

#include "platform/WebKit/WKWebView.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace tq {

class ScriptBatch;

/// Whether faults in native methods end the program where they happen, and show in the page.
enum class DebugMode : bool { Off, On };

/// A web view whose page calls native objects, and is called by them. Made and used on the main thread; the registry of
/// native objects may be changed from any thread.
class TQWB_EXPORT DWKWebView : public WKWebView, public WKUIDelegate {
public:
    /// @param configuration altered in place: it receives the bridge's start-up script. Absent: the default one.
    static std::shared_ptr<DWKWebView> initWithFrame(
        CGRect frame, std::shared_ptr<WKWebViewConfiguration> configuration);
    explicit DWKWebView(Token);
    ~DWKWebView() override;

    /// Makes the object's methods callable as "namespace.method", replacing an earlier object of that namespace. The
    /// view holds the object until it is removed. Any thread.
    /// @param object absent: nothing happens. @param nameSpace absent: the empty namespace.
    void addJavascriptObject(std::shared_ptr<NSObject> object, const OptionalText& nameSpace);
    /// Takes a namespace out again; one that is not there is none to miss. Any thread.
    void removeJavascriptObject(const OptionalText& nameSpace);

    /// In debug mode an exception that leaves a native method ends the program, and a call that finds no method is
    /// shown to the page's user. Off at first.
    void setDebugMode(DebugMode mode) { m_isDebug = mode == DebugMode::On; }
    bool isDebug() const { return m_isDebug; }

    /// Loads the page at the address. A text that is no address has no effect.
    void loadUrl(std::string_view url);

    /// The application's delegate for what the page asks of its user, held weakly. (The view is its own UI delegate.)
    template <DelegateOf<WKUIDelegate> Delegate> void setDSUIDelegate(const std::shared_ptr<Delegate>& delegate)
    {
        m_dsUIDelegate.set(delegate);
    }
    std::shared_ptr<WKUIDelegate> DSUIDelegate() const { return m_dsUIDelegate.get(); }

    /// Answers one call from the page; what the prompt channel runs. Not for applications. An exception that leaves the
    /// native method leaves this too.
    /// @param methodName "namespace.method", or "method" in the empty namespace.
    /// @param argumentMessage the JSON text of the call; absent: no argument.
    /// @returns the JSON text of the result.
    std::string call(std::string_view methodName, std::optional<std::string_view> argumentMessage);

    /// Asks for the collected scripts to be run, after the delay in milliseconds. Any thread.
    void evalJavascript(std::int32_t delay);

    void runJavaScriptTextInputPanelWithPrompt(WKWebView& webView, std::string_view prompt,
        std::optional<std::string_view> defaultText, const WKFrameInfo& frame,
        std::function<void(OptionalText)> completion) override;

protected:
    void initialize(CGRect frame, std::shared_ptr<WKWebViewConfiguration> configuration) override;

private:
    friend class AsyncResult;

    std::shared_ptr<NSObject> objectForNamespace(std::string_view nameSpace) const;
    OptionalText answer(std::string_view methodName, std::optional<std::string_view> argumentMessage);
    void reportMissingMethod(std::string_view methodName);
    void queueScript(std::string_view script);
    void scheduleFlush(std::int32_t delay, std::optional<std::uint64_t> ticket);

    mutable std::mutex m_registryMutex;
    std::map<std::string, std::shared_ptr<NSObject>, std::less<>> m_javaScriptNamespaceInterfaces;
    std::unique_ptr<ScriptBatch> m_batch;
    bool m_isDebug = false;
    WeakDelegate<WKUIDelegate> m_dsUIDelegate;
};

} // namespace tq
