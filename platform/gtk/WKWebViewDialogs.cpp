#include "../Foundation/Dispatch.h"
#include "../Foundation/JSONWriter.h"
#include "../Foundation/NSLog.h"
#include "WKWebViewImpl.h"

#include <algorithm>
#include <utility>

namespace tq {

// A dialog that waits for its answer. The engine's rules: inside the signal handler the answer is set and nothing is
// closed; an answer that comes later is set, then the dialog is closed; the last reference closes an unanswered one.
class WKWebView::Impl::PendingDialog {
public:
    PendingDialog() = default;
    ~PendingDialog()
    {
        if (m_isKept)
            webkit_script_dialog_unref(m_dialog);
    }
    PendingDialog(const PendingDialog&) = delete;
    PendingDialog& operator=(const PendingDialog&) = delete;

    /// Nobody may hold this one for another dialog still.
    void begin(WebKitScriptDialog* dialog)
    {
        m_dialog = dialog;
        m_isAnswered = false;
    }
    /// @param setAnswer is given the dialog; the first answer counts.
    template <class SetAnswer> void answer(const SetAnswer& setAnswer)
    {
        if (std::exchange(m_isAnswered, true))
            return;
        setAnswer(m_dialog);
        if (m_isKept)
            webkit_script_dialog_close(m_dialog);
    }
    void cancel()
    {
        answer([](WebKitScriptDialog*) {});
    }
    bool isAnswered() const { return m_isAnswered; }
    void keep()
    {
        webkit_script_dialog_ref(m_dialog);
        m_isKept = true;
    }

private:
    WebKitScriptDialog* m_dialog = nullptr;
    bool m_isAnswered = false;
    bool m_isKept = false;
};

// Asks the delegate, if it has a method for this kind of dialog.
bool WKWebView::Impl::ask(WebKitScriptDialog* native, const std::shared_ptr<PendingDialog>& dialog)
{
    using Methods = WKUIDelegate::Methods;
    const char* characters = webkit_script_dialog_get_message(native);
    const std::string_view message = characters ? characters : "";
    const auto& delegates = view.m_uiDelegate;
    switch (webkit_script_dialog_get_dialog_type(native)) {
    case WEBKIT_SCRIPT_DIALOG_ALERT:
        if (const auto delegate = delegates.respondingTo(&Methods::runJavaScriptAlertPanelWithMessage)) {
            delegate->runJavaScriptAlertPanelWithMessage(
                view, message, WKFrameInfo(view), [dialog] { dialog->cancel(); });
            return true;
        }
        return false;
    case WEBKIT_SCRIPT_DIALOG_CONFIRM:
        if (const auto delegate = delegates.respondingTo(&Methods::runJavaScriptConfirmPanelWithMessage)) {
            delegate->runJavaScriptConfirmPanelWithMessage(
                view, message, WKFrameInfo(view), [dialog](bool isConfirmed) {
                    dialog->answer([isConfirmed](WebKitScriptDialog* native) {
                        webkit_script_dialog_confirm_set_confirmed(native, isConfirmed);
                    });
                });
            return true;
        }
        return false;
    case WEBKIT_SCRIPT_DIALOG_PROMPT:
        if (const auto delegate = delegates.respondingTo(&Methods::runJavaScriptTextInputPanelWithPrompt)) {
            const char* text = webkit_script_dialog_prompt_get_default_text(native);
            delegate->runJavaScriptTextInputPanelWithPrompt(view, message,
                text ? std::optional<std::string_view>(text) : std::nullopt, WKFrameInfo(view),
                [dialog](OptionalText entered) {
                    dialog->answer([&entered](WebKitScriptDialog* native) {
                        if (entered)
                            webkit_script_dialog_prompt_set_text(native, entered->c_str());
                    });
                    if (entered)
                        JSONWriter::reuse(std::move(*entered));
                });
            return true;
        }
        return false;
    case WEBKIT_SCRIPT_DIALOG_BEFORE_UNLOAD_CONFIRM:
        // No page is asked whether it may be left.
        webkit_script_dialog_confirm_set_confirmed(native, TRUE);
        return true;
    }
    return false;
}

gboolean WKWebView::Impl::scriptDialog(WebKitWebView*, WebKitScriptDialog* native, gpointer impl)
{
    const EngineCall call(impl);
    // The page of a view that is about to go is not answered, and its user not asked.
    if (call.isTooLate())
        return TRUE;
    auto& self = call.impl();
    // A load within the page ends without a word.
    self.isLeaving = self.isLeaving && (self.certificates || webkit_web_view_is_loading(self.webView));
    auto dialog = std::exchange(self.spareDialog, nullptr);
    if (!dialog)
        dialog = std::make_shared<PendingDialog>();
    dialog->begin(native);
    const auto loadsBefore = self.loads;
    bool isAsked = true;
    runGuarded([&] { isAsked = self.ask(native, dialog); });
    if (!isAsked)
        return FALSE;
    // The delegate may have asked for another page meanwhile.
    if (self.loads != loadsBefore)
        dialog->cancel();
    // One that nobody has kept is cancelled by the engine, which has its last reference.
    if (dialog.use_count() == 1) {
        self.spareDialog = std::move(dialog);
    } else if (!dialog->isAnswered()) {
        dialog->keep();
        std::erase_if(self.pendingDialogs, [](const auto& pending) { return pending.expired(); });
        self.pendingDialogs.push_back(dialog);
    }
    return TRUE;
}

// A page that waits for an answer cannot be left.
void WKWebView::Impl::cancelDialogs(TellView tellView)
{
    for (const auto& weak : std::exchange(pendingDialogs, {})) {
        if (const auto dialog = weak.lock())
            dialog->cancel();
    }
    if (tellView == TellView::Yes)
        view.pageDialogsAreVoid();
}

void WKWebView::Impl::webProcessTerminated(WebKitWebView*, WebKitWebProcessTerminationReason, gpointer impl)
{
    const EngineCall call(impl);
    if (call.isTooLate())
        return;
    auto& self = call.impl();
    const auto loadsBefore = self.loads;
    const bool isLoadLost = std::exchange(self.isLeaving, false) && self.repeats < kMostRepeats;
    self.challenges.clear();
    self.loadStage = LoadStage::None;
    self.isExplaining = false;
    self.cancelDialogs(TellView::Yes);
    self.view.pageHasGone(PageEnd::ProcessEnded);
    if (const auto delegate = self.view.m_navigationDelegate.respondingTo(
            &WKNavigationDelegate::Methods::webViewWebContentProcessDidTerminate))
        runGuarded([&] { delegate->webViewWebContentProcessDidTerminate(self.view); });
    // A page that was asked for when its process had died already would never come.
    if (isLoadLost && self.loads == loadsBefore) {
        ++self.repeats;
        self.loadAgain(self.requested);
    }
}

GtkWidget* WKWebView::Impl::create(WebKitWebView*, WebKitNavigationAction* action, gpointer impl)
{
    const EngineCall call(impl);
    if (call.isTooLate())
        return nullptr;
    auto& view = call.impl().view;
    const auto delegate = view.m_uiDelegate.respondingTo(&WKUIDelegate::Methods::createWebViewWithConfiguration);
    if (!delegate)
        return nullptr;
    const auto configuration = std::make_shared<WKWebViewConfiguration>(*view.m_configuration);
    configuration->userContentController
        = std::make_shared<WKUserContentController>(*view.m_configuration->userContentController);
    configuration->opener = view.weak_from_this();
    const char* uri = webkit_uri_request_get_uri(webkit_navigation_action_get_request(action));
    const WKNavigationAction navigation{ { .URL = NSURL::URLWithString(uri ? uri : "") } };
    std::shared_ptr<WKWebView> created;
    runGuarded([&] {
        created = delegate->createWebViewWithConfiguration(view, configuration, navigation, WKWindowFeatures{});
    });
    if (created && created->m_configuration != configuration) {
        NSLog(TQWBLogLevel::Warning,
            "a view for a new window is not made with the configuration given for it, and no window is opened");
        return nullptr;
    }
    return created ? GTK_WIDGET(created->m_impl->webView) : nullptr;
}

void WKWebView::Impl::close(WebKitWebView*, gpointer impl)
{
    const EngineCall call(impl);
    if (call.isTooLate())
        return;
    auto& view = call.impl().view;
    if (const auto delegate = view.m_uiDelegate.respondingTo(&WKUIDelegate::Methods::webViewDidClose))
        runGuarded([&] { delegate->webViewDidClose(view); });
}

} // namespace tq
