#pragma once

#include "Answer.h"
#include "DSCallInfo.h"
#include "PageFunction.h"
#include "platform/UIKit/UIAlertView.h"
#include "platform/WebKit/WKWebView.h"

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace tq {

class AsyncResult;
class CallDeadlines;
class NativeObjects;
class OpenCalls;
class PageConsole;
class PagePorts;
class ScriptBatch;
struct CallMessage;
struct CallOutcome;
struct PageCallback;
struct PendingCall;

/// Receives one value that a page function has answered; absent when the answer carried none.
using JSCallback = std::function<void(OptionalValue value)>;

/// Whether faults in native methods end the program where they happen, and show in the page.
enum class DebugMode : bool { Off, On };

/// Which frames of a page may call native objects.
enum class CallingFrames : bool { All, MainFrameOnly };

/// The arguments of a page function: a list, or its elements in braces. (`{ list }` is the list of one argument, which
/// is a list.)
class JSArguments {
public:
    /// No arguments.
    JSArguments() = default;
    /// The elements of the list.
    JSArguments(boost::json::array list)
        : m_list(std::move(list))
    {
    }
    /// The elements themselves.
    JSArguments(std::initializer_list<boost::json::value_ref> elements)
        : m_list(elements)
    {
    }
    /// The list, which is gone from here then.
    boost::json::array takeList() && { return std::move(m_list); }

private:
    boost::json::array m_list;
};

/// A web view whose page calls native objects, and is called by them. Made and used on the main thread; the registry of
/// native objects may be changed from any thread.
class TQWB_EXPORT DWKWebView : public WKWebView, public WKUIDelegate, public UIAlertViewDelegate {
public:
    /// @param configuration altered in place: it receives the bridge's start-up script. Absent: the default one.
    static std::shared_ptr<DWKWebView> initWithFrame(
        CGRect frame, std::shared_ptr<WKWebViewConfiguration> configuration);
    /// For `initWithFrame`.
    explicit DWKWebView(Token);
    ~DWKWebView() override;

    /// Makes the object's methods callable as "namespace.method", replacing an earlier object of that namespace. The
    /// view holds the object until it is removed. Any thread.
    /// @param object absent: nothing happens. @param nameSpace absent: the empty namespace.
    void addJavascriptObject(std::shared_ptr<NSObject> object, const OptionalText& nameSpace);
    /// Takes a namespace out again; one that is not there is none to miss. Any thread.
    void removeJavascriptObject(const OptionalText& nameSpace);

    /// Restricts the bridge to pages of some origins; recommended wherever the pages' servers are known. A page of
    /// another origin has its calls refused as if nothing were registered (with a log line), and gets neither results
    /// nor calls. A frame within a page must be of such an origin itself where the engine tells frames apart (Qt's);
    /// where it does not (GTK's) it counts as the page, unless `setCallingFrames` has it otherwise. Main thread.
    /// @param origins "https://host", with ":port" unless it is the scheme's own; exact hosts. Absent: every page, as
    /// at first.
    /// @returns false, with nothing changed, when one of them is no origin.
    bool setAllowedOrigins(const std::optional<std::vector<std::string>>& origins);

    /// Restricts the bridge to the main frame of pages; recommended wherever pages may show frames of others. The main
    /// frames of the allowed origins are then given a secret as they begin to load, which `page/bridge.js` sends with
    /// every call. A call without it is refused like one of a page of another origin. (Frames of the page's own origin
    /// can read the page, and so call in its name.) To be set before the page is loaded: one that is there already has
    /// no secret. Main thread.
    /// @param frames all of them at first. Where no origins are allowed (`setAllowedOrigins`) nobody can be told
    /// the secret, and `MainFrameOnly` has every call refused until they are.
    void setCallingFrames(CallingFrames frames);

    /// In debug mode an exception that leaves a native method ends the program, and a call that finds no method is
    /// shown to the page's user. The log has what pages write to their console and what fails in them unseen (uncaught
    /// errors, unhandled rejections), up to 100 lines a second, of pages that begin to load from now on; and the
    /// engine's inspector can be opened on the page. Off at first, and not for what is shipped: a page can fill the log
    /// and end the program. Main thread.
    void setDebugMode(DebugMode mode);
    /// Whether debug mode is on.
    bool isDebug() const { return m_isDebug; }

    /// Loads the page at the address. A text that is no address has no effect.
    void loadUrl(std::string_view url);

    /// Calls a function of the page. Calls that are made before the page has said that it is ready are kept, and sent
    /// in order when it does so; it says so once in the view's life, later pages are called at once. Main thread.
    /// @param handlerName the name under which the page has registered the function. A page that has no such function
    /// may answer nothing at all.
    /// @param arguments what cannot be written as JSON (a text that is not UTF-8, a number that is not finite) reaches
    /// the page as no arguments.
    /// @param completionHandler called on the main thread for every answer of the page until the one that it marks as
    /// the last, one object for all of them; may be empty. An exception that leaves it is logged, and ends the program
    /// in debug mode. It is held until the last answer, or until the view ends or goes when none comes; that there is
    /// none it is not told, see `callPageFunction`.
    void callHandler(std::string_view handlerName, JSArguments arguments, JSCallback completionHandler);
    /// The same, where nobody waits for answers.
    void callHandler(std::string_view handlerName, JSArguments arguments);
    /// The same without arguments.
    void callHandler(std::string_view handlerName, JSCallback completionHandler);
    /// The same for a call that always comes to an end: the last thing that the callback gets is the page's last
    /// answer, or a failure. A call fails when the page's function does, or when there is no such function and the
    /// page says so; when the page goes before its last answer, for another one, with its process or since the view has
    /// ended; when the page must not be called; and when its first answer does not come in time. When the view itself
    /// goes, the callback goes with it and is not called.
    /// @param callback called on the main thread, never before this returns.
    void callPageFunction(PageFunction function, boost::json::array arguments, PageReplyCallback callback);
    /// The same with types: `view.callHandler<int>("sum", [](tq::Answer<int> sum) { ... }, 3, 4)`.
    /// @tparam T what an answer is made into; what it cannot be made of comes as an error.
    /// @param callback takes an `Answer<T>`; a failure comes as an error.
    /// @param arguments the elements of the list of arguments, each of a type that JSON can be made of.
    template <class T, class Callback, class... Arguments>
    void callHandler(PageFunction function, Callback callback, Arguments&&... arguments)
    {
        static_assert(AnswerType<T>, "an answer cannot be made into this type, or it is a view and would hold nothing");
        static_assert((JSONWritable<Arguments> && ...), "no JSON can be made of the type of an argument");
        static_assert(std::invocable<Callback&, Answer<T>>, "the callback takes an Answer of the type");
        auto name = function.name;
        callPageFunction(std::move(function), jsonList(std::forward<Arguments>(arguments)...),
            PageReplyCallback([name = std::move(name), callback = std::move(callback)](
                                  PageReply reply) mutable { callback(Answer<T>::read(name, std::move(reply))); }));
    }
    /// Asks the page whether it has the function. Main thread; the callback is called there, and never by a page that
    /// answers nothing.
    void hasJavascriptMethod(std::string_view handlerName, std::function<void(bool exists)> methodExistCallback);
    /// Called when the page asks to be closed, which is all that happens then. Replaces the one before; may be empty. A
    /// listener may set another one, or ask the page for something that makes it ask again.
    void setJavascriptCloseWindowListener(std::function<void()> listener)
    {
        m_javascriptCloseWindowListener
            = listener ? std::make_shared<const std::function<void()>>(std::move(listener)) : nullptr;
    }

    /// The texts of the view's own dialogs: "alertTitle", "alertBtn", "confirmTitle", "confirmCancelBtn",
    /// "confirmOkBtn", "promptCancelBtn" and "promptOkBtn". Replaces all texts given before; what the map lacks takes
    /// its default, which is Chinese; `englishDialogLabels` has English ones. Main thread.
    /// @param titles absent: nothing changes.
    void customJavascriptDialogLabelTitles(std::optional<std::map<std::string, std::string>> titles);

    /// The application's delegate for what the page asks of its user, held weakly. (The view is its own UI delegate.)
    /// What the delegate's class implements is its own affair; for the rest the view shows dialogs of its own, and
    /// opens no windows. The view itself as its delegate is none. A page that has switched blocking off has been
    /// answered before the delegate is asked.
    template <DelegateOf<WKUIDelegate> Delegate> void setDSUIDelegate(const std::shared_ptr<Delegate>& delegate)
    {
        m_dsUIDelegate.set(delegate);
        // Forwarding to itself would have no end.
        if (m_dsUIDelegate.get().get() == this)
            m_dsUIDelegate.clear();
    }
    /// A temporary would be gone at once, since nobody else holds it: keep the delegate, and give that.
    template <DelegateOf<WKUIDelegate> Delegate>
    void setDSUIDelegate(const std::shared_ptr<Delegate>&& delegate) = delete;
    /// Absent when none was set or it is gone.
    std::shared_ptr<WKUIDelegate> DSUIDelegate() const { return m_dsUIDelegate.get(); }

    /// Answers one call from the page; what the prompt channel runs. Not for applications. An exception that leaves the
    /// native method leaves this too. Whoever calls it needs no secret.
    /// @param methodName "namespace.method", or "method" in the empty namespace.
    /// @param argumentMessage the JSON text of the call; absent: no argument.
    /// @returns the JSON text of the result.
    std::string call(std::string_view methodName, std::optional<std::string_view> argumentMessage);

    /// Asks for the collected scripts to be run, after the delay in milliseconds. Any thread.
    void evalJavascript(std::int32_t delay);

    // What the page's requests to the view itself come to. Not for applications. Main thread.

    /// Runs the request of that number, see `InternalMessage`; other numbers do nothing.
    OptionalValue onMessage(OptionalValue args, std::int32_t type);
    /// Whether there is a native method of the "name" and the "type" ("all", "asyn" or "syn").
    bool hasNativeMethod(const OptionalValue& args) const;
    /// Tells the close listener. @returns absent.
    OptionalValue closePage(OptionalValue args);
    /// Hands an answer of the page to the call that it is for. @param result "id", "data" and "complete".
    OptionalValue returnValue(OptionalValue result);
    /// The page is ready: sends what was kept for it. @returns absent.
    OptionalValue dsinit(OptionalValue args);
    /// Sends the calls that were kept for a page that was not ready, and keeps no more.
    void dispatchStartupQueue();
    /// Sends one call to the page now.
    void dispatchJavascriptCall(const DSCallInfo& info);
    /// Whether the page's dialogs let its script run on at once, unanswered.
    void disableJavascriptDialogBlock(bool disable);

    // The view as its own UI delegate.
    void runJavaScriptAlertPanelWithMessage(WKWebView& webView, std::string_view message, const WKFrameInfo& frame,
        std::function<void()> completion) override;
    void runJavaScriptConfirmPanelWithMessage(WKWebView& webView, std::string_view message, const WKFrameInfo& frame,
        std::function<void(bool)> completion) override;
    void runJavaScriptTextInputPanelWithPrompt(WKWebView& webView, std::string_view prompt,
        std::optional<std::string_view> defaultText, const WKFrameInfo& frame,
        std::function<void(OptionalText)> completion) override;
    std::shared_ptr<WKWebView> createWebViewWithConfiguration(WKWebView& webView,
        const std::shared_ptr<WKWebViewConfiguration>& configuration, const WKNavigationAction& navigationAction,
        const WKWindowFeatures& windowFeatures) override;
    void webViewDidClose(WKWebView& webView) override;
    bool shouldPreviewElement(WKWebView& webView, const WKPreviewElementInfo& elementInfo) override;
    std::shared_ptr<UIViewController> previewingViewControllerForElement(WKWebView& webView,
        const WKPreviewElementInfo& elementInfo, const std::vector<WKPreviewActionItem>& previewActions) override;
    void commitPreviewingViewController(
        WKWebView& webView, const std::shared_ptr<UIViewController>& previewingViewController) override;

    // The answer of the view's own dialogs.
    void alertView(UIAlertView& alertView, std::int64_t clickedButtonAtIndex) override;

protected:
    void initialize(CGRect frame, std::shared_ptr<WKWebViewConfiguration> configuration) override;
    void pageDialogsAreVoid() override;
    void pageHasGone(PageEnd end) override;
    void end() override;

private:
    friend class PagePorts;
    friend class ViewResult;

    enum class DialogType : std::int32_t { None = 0, Alert = 1, Confirm = 2, Prompt = 3 };

    std::shared_ptr<DWKWebView> self() { return std::static_pointer_cast<DWKWebView>(shared_from_this()); }
    void guard(const std::function<void()>& run) const;
    template <class Call> auto guarded(const Call& call);
    OptionalText answer(std::string_view methodName, std::optional<std::string_view> argumentMessage);
    std::optional<CallOutcome> performGuarded(std::string_view methodName, CallMessage&& message,
        const std::function<std::shared_ptr<AsyncResult>(PageCallback)>& makeResult);
    void startCall(std::string_view handlerName, boost::json::array&& arguments, std::shared_ptr<PendingCall> pending);
    void takeAnswer(std::int32_t id, std::string_view value);
    void reply(const PendingCall& pending, PageReply&& reply);
    void failCall(std::int32_t id, std::string_view reason);
    void failCallSoon(std::int32_t id, std::string reason);
    void failCalls(std::string_view reason);
    void endCalls(std::string_view reason);
    void letGoOfCalls();
    void reportMissingMethod(std::string_view methodName);
    std::string dialogText(const char* key, const char* defaultText) const;
    std::shared_ptr<UIAlertView> newDialog(
        std::string title, std::string_view message, std::string cancelButton, std::optional<std::string> okButton);
    template <class Handler, class Forward, class... Unasked>
    bool hasToAsk(DialogType type, bool Methods::*method, Handler& handler, Handler& completion, const Forward& forward,
        Unasked... unasked);
    void showPrompt(WKWebView& webView, std::string_view prompt, std::optional<std::string_view> defaultText,
        const WKFrameInfo& frame, std::function<void(OptionalText)> completion);
    bool isOriginAllowed() const;
    bool isPageAllowed() const;
    bool isFrameAllowed(const OptionalText& origin) const;
    bool isOriginAllowed(const OptionalText& origin) const;
    static constexpr std::string_view kNotAllowed = "the page must not be called";
    void giveUserContent();
    void addSecrets(WKUserContentController& content);
    std::optional<std::string_view> requiredSecret() const;
    std::string callFromPage(std::string_view methodName, std::optional<std::string_view> argumentMessage,
        std::optional<std::string_view> secret);
    void queueScript(std::string_view script);

    // At most one pending answer of each kind.
    std::function<void()> m_alertHandler;
    std::function<void(bool)> m_confirmHandler;
    std::function<void(OptionalText)> m_promptHandler;
    std::shared_ptr<const std::function<void()>> m_javascriptCloseWindowListener;
    DialogType m_dialogType = DialogType::None;
    std::int32_t m_callId = 0;
    bool m_jsDialogBlock = true;
    std::unique_ptr<NativeObjects> m_javaScriptNamespaceInterfaces;
    // Shared with the answer that is under way: the callback may call the page, or take its last answer meanwhile.
    std::unordered_map<std::int32_t, std::shared_ptr<PendingCall>> m_handerMap;
    std::shared_ptr<CallDeadlines> m_deadlines;
    // Calls that wait for the page; absent once it is ready.
    std::optional<std::vector<DSCallInfo>> m_callInfoList{ std::in_place };
    std::map<std::string, std::string> m_dialogTextDic;
    std::shared_ptr<UITextField> m_txtName;
    std::vector<std::weak_ptr<UIAlertView>> m_dialogs;
    std::unique_ptr<ScriptBatch> m_batch;
    std::shared_ptr<PagePorts> m_ports;
    // Calls by prompts.
    std::unique_ptr<OpenCalls> m_openCalls;
    std::int64_t m_lastOpenCall = 0;
    bool m_isDebug = false;
    // In debug mode only.
    std::shared_ptr<PageConsole> m_console;
    std::optional<std::vector<std::string>> m_allowedOrigins;
    CallingFrames m_callingFrames = CallingFrames::All;
    // Of each origin that was ever allowed while only main frames call: a page that comes back still knows its own.
    std::map<std::string, std::string> m_frameSecrets;
    WeakDelegate<WKUIDelegate> m_dsUIDelegate;
};

} // namespace tq
