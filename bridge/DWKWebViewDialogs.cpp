// What the page asks of its user: the application's delegate answers if it can, the view itself if not.

#include "TQWhiteBoardLib/DWKWebView.h"
#include "platform/UIKit/UITextField.h"

#include <algorithm>
#include <utility>

namespace tq {

namespace {

using Methods = WKUIDelegate::Methods;

constexpr const char* kDefaultTitle = "提示";
constexpr const char* kDefaultOk = "确定";
constexpr const char* kDefaultCancel = "取消";
constexpr std::int64_t kOkButton = 1;

} // namespace

void DWKWebView::customJavascriptDialogLabelTitles(std::optional<std::map<std::string, std::string>> titles)
{
    if (titles)
        m_dialogTextDic = std::move(*titles);
}

std::string DWKWebView::dialogText(const char* key, const char* defaultText) const
{
    const auto found = m_dialogTextDic.find(key);
    return found == m_dialogTextDic.end() ? defaultText : found->second;
}

std::shared_ptr<UIAlertView> DWKWebView::newDialog(
    std::string title, std::string_view message, std::string cancelButton, std::optional<std::string> okButton)
{
    auto dialog = UIAlertView::initWithTitle(
        std::move(title), std::string(message), self(), std::move(cancelButton), std::move(okButton));
    std::erase_if(m_dialogs, [](const auto& shown) { return shown.expired(); });
    m_dialogs.push_back(dialog);
    return dialog;
}

// Whether the view has to ask its user: a page that does not wait is answered at once, with what stands for no answer,
// and the application's delegate comes first.
template <class Handler, class Forward, class... Unasked>
bool DWKWebView::hasToAsk(DialogType type, bool Methods::*method, Handler& handler, Handler& completion,
    const Forward& forward, Unasked... unasked)
{
    if (!m_jsDialogBlock)
        completion(unasked...);
    if (isLeavingPage())
        return false;
    if (const auto delegate = m_dsUIDelegate.respondingTo(method)) {
        forward(*delegate);
        return false;
    }
    m_dialogType = type;
    if (m_jsDialogBlock)
        handler = std::move(completion);
    return true;
}

void DWKWebView::runJavaScriptAlertPanelWithMessage(
    WKWebView& webView, std::string_view message, const WKFrameInfo& frame, std::function<void()> completion)
{
    const auto forward = [&](WKUIDelegate& delegate) {
        delegate.runJavaScriptAlertPanelWithMessage(webView, message, frame, std::move(completion));
    };
    if (hasToAsk(DialogType::Alert, &Methods::runJavaScriptAlertPanelWithMessage, m_alertHandler, completion, forward))
        newDialog(dialogText("alertTitle", kDefaultTitle), message, dialogText("alertBtn", kDefaultOk), std::nullopt)
            ->show(nativeHandle());
}

void DWKWebView::runJavaScriptConfirmPanelWithMessage(
    WKWebView& webView, std::string_view message, const WKFrameInfo& frame, std::function<void(bool)> completion)
{
    const auto forward = [&](WKUIDelegate& delegate) {
        delegate.runJavaScriptConfirmPanelWithMessage(webView, message, frame, std::move(completion));
    };
    if (hasToAsk(DialogType::Confirm, &Methods::runJavaScriptConfirmPanelWithMessage, m_confirmHandler, completion,
            forward, true))
        newDialog(dialogText("confirmTitle", kDefaultTitle), message, dialogText("confirmCancelBtn", kDefaultCancel),
            dialogText("confirmOkBtn", kDefaultOk))
            ->show(nativeHandle());
}

void DWKWebView::showPrompt(WKWebView& webView, std::string_view prompt, std::optional<std::string_view> defaultText,
    const WKFrameInfo& frame, std::function<void(OptionalText)> completion)
{
    const auto forward = [&](WKUIDelegate& delegate) {
        delegate.runJavaScriptTextInputPanelWithPrompt(webView, prompt, defaultText, frame, std::move(completion));
    };
    if (!hasToAsk(DialogType::Prompt, &Methods::runJavaScriptTextInputPanelWithPrompt, m_promptHandler, completion,
            forward, std::nullopt))
        return;
    const auto dialog = newDialog(
        std::string(prompt), {}, dialogText("promptCancelBtn", kDefaultCancel), dialogText("promptOkBtn", kDefaultOk));
    dialog->setAlertViewStyle(UIAlertViewStyle::PlainTextInput);
    m_txtName = dialog->textFieldAtIndex(0);
    m_txtName->setText(defaultText.value_or(""));
    dialog->show(nativeHandle());
}

// Whatever dialog is answered: the answer is for the one that was shown last.
void DWKWebView::alertView(UIAlertView&, std::int64_t clickedButtonAtIndex)
{
    const bool isOk = clickedButtonAtIndex == kOkButton;
    switch (m_dialogType) {
    case DialogType::Prompt: {
        const auto field = std::exchange(m_txtName, nullptr);
        if (const auto handler = std::exchange(m_promptHandler, nullptr); handler && field)
            handler(isOk ? field->text() : "");
        break;
    }
    case DialogType::Confirm:
        if (const auto handler = std::exchange(m_confirmHandler, nullptr))
            handler(isOk);
        break;
    case DialogType::Alert:
        if (const auto handler = std::exchange(m_alertHandler, nullptr))
            handler();
        break;
    case DialogType::None:
        break;
    }
}

void DWKWebView::pageDialogsAreVoid()
{
    // The last first: one that waits would come on the screen when the one before it goes.
    const auto dialogs = std::exchange(m_dialogs, {});
    std::for_each(dialogs.rbegin(), dialogs.rend(), [](const auto& weak) {
        if (const auto dialog = weak.lock())
            dialog->dismiss();
    });
    m_alertHandler = nullptr;
    m_confirmHandler = nullptr;
    m_promptHandler = nullptr;
    m_txtName = nullptr;
}

std::shared_ptr<WKWebView> DWKWebView::createWebViewWithConfiguration(WKWebView& webView,
    const std::shared_ptr<WKWebViewConfiguration>& configuration, const WKNavigationAction& navigationAction,
    const WKWindowFeatures& windowFeatures)
{
    const auto delegate = m_dsUIDelegate.respondingTo(&Methods::createWebViewWithConfiguration);
    return delegate ? delegate->createWebViewWithConfiguration(webView, configuration, navigationAction, windowFeatures)
                    : nullptr;
}

void DWKWebView::webViewDidClose(WKWebView& webView)
{
    if (const auto delegate = m_dsUIDelegate.respondingTo(&Methods::webViewDidClose))
        delegate->webViewDidClose(webView);
}

bool DWKWebView::shouldPreviewElement(WKWebView& webView, const WKPreviewElementInfo& elementInfo)
{
    const auto delegate = m_dsUIDelegate.respondingTo(&Methods::shouldPreviewElement);
    return delegate && delegate->shouldPreviewElement(webView, elementInfo);
}

std::shared_ptr<UIViewController> DWKWebView::previewingViewControllerForElement(
    WKWebView& webView, const WKPreviewElementInfo& elementInfo, const std::vector<WKPreviewActionItem>& previewActions)
{
    const auto delegate = m_dsUIDelegate.respondingTo(&Methods::previewingViewControllerForElement);
    return delegate ? delegate->previewingViewControllerForElement(webView, elementInfo, previewActions) : nullptr;
}

void DWKWebView::commitPreviewingViewController(
    WKWebView& webView, const std::shared_ptr<UIViewController>& previewingViewController)
{
    if (const auto delegate = m_dsUIDelegate.respondingTo(&Methods::commitPreviewingViewController))
        delegate->commitPreviewingViewController(webView, previewingViewController);
}

} // namespace tq
