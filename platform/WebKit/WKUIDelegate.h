#pragma once

#include "../Foundation/Export.h"
#include "../Foundation/NSTypes.h"
#include "../Foundation/NSURLRequest.h"
#include "../Foundation/WeakDelegate.h"
#include "WKNavigationDelegate.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tq {

class UIViewController;
class WKWebView;
struct WKWebViewConfiguration;

/// The frame that asked; valid during the call that it is given to. Where the port's engine does not tell frames apart
/// (GTK's), this is the view's own page.
class TQWB_EXPORT WKFrameInfo {
public:
    /// The frame of the view's own page.
    explicit WKFrameInfo(const WKWebView& webView);
    /// A frame that the engine has told of. @param origin absent for pages without a host.
    WKFrameInfo(const WKWebView& webView, OptionalText origin);
    WKFrameInfo(const WKFrameInfo&) = delete;
    WKFrameInfo& operator=(const WKFrameInfo&) = delete;

    /// The address of the view's page; absent before the first one.
    OptionalText URL() const;
    /// The frame's origin, as "https://host:8443"; absent for "data:" ones and others without a host.
    const OptionalText& origin() const { return m_origin; }

private:
    const WKWebView& m_webView;
    const OptionalText m_origin;
};

/// The window that the page asks for; a mere token, since the engine tells its wishes only after the view is made.
struct WKWindowFeatures { };

/// A link that the user presses on, in ports whose engine offers a preview of what is behind it.
struct WKPreviewElementInfo {
    /// Where the link leads; absent when the port cannot tell.
    OptionalText linkURL;
};

/// Something that a preview offers to do.
struct WKPreviewActionItem {
    /// Names it for the application.
    std::string identifier;
    /// Names it for the user.
    std::string title;
};

/// Answers what a page asks of its user. Every method is optional; all run on the main thread.
///
/// The page waits until the completion of a dialog is called. It may be kept and called later; the first answer counts,
/// and one that comes when the page has gone does nothing. Dropping it unanswered cancels the dialog.
class TQWB_EXPORT WKUIDelegate {
public:
    virtual ~WKUIDelegate() = default;

    /// The page called `alert(message)`. @param message valid during this call only.
    virtual void runJavaScriptAlertPanelWithMessage(
        WKWebView& webView, std::string_view message, const WKFrameInfo& frame, std::function<void()> completion);

    /// The page called `confirm(message)`, which returns what the completion is given.
    /// @param message valid during this call only.
    virtual void runJavaScriptConfirmPanelWithMessage(
        WKWebView& webView, std::string_view message, const WKFrameInfo& frame, std::function<void(bool)> completion);

    /// The page called `prompt(prompt, defaultText)`, which returns what the completion is given, absent as null.
    /// @param prompt valid during this call only.
    /// @param defaultText what the field holds at first; valid during this call only. Absent: nothing.
    virtual void runJavaScriptTextInputPanelWithPrompt(WKWebView& webView, std::string_view prompt,
        std::optional<std::string_view> defaultText, const WKFrameInfo& frame,
        std::function<void(OptionalText)> completion);

    /// The page wants a new window.
    /// @param configuration what the new view must be made with, which ties it to this one.
    /// @returns the view for it, which the application keeps and shows; absent: no window is opened.
    virtual std::shared_ptr<WKWebView> createWebViewWithConfiguration(WKWebView& webView,
        const std::shared_ptr<WKWebViewConfiguration>& configuration, const WKNavigationAction& navigationAction,
        const WKWindowFeatures& windowFeatures);

    /// The page closed its window.
    virtual void webViewDidClose(WKWebView& webView);

    // Previews of links, in ports whose engine has them. GTK's and Qt's have none: there nothing calls these.

    /// Whether the link may be previewed.
    virtual bool shouldPreviewElement(WKWebView& webView, const WKPreviewElementInfo& elementInfo);
    /// What shows the preview; absent: the engine itself.
    virtual std::shared_ptr<UIViewController> previewingViewControllerForElement(WKWebView& webView,
        const WKPreviewElementInfo& elementInfo, const std::vector<WKPreviewActionItem>& previewActions);
    /// The user wants what the preview shows.
    virtual void commitPreviewingViewController(
        WKWebView& webView, const std::shared_ptr<UIViewController>& previewingViewController);

    /// @cond
    // Which of the methods a class has.
    struct Methods {
        bool runJavaScriptAlertPanelWithMessage = false;
        bool runJavaScriptConfirmPanelWithMessage = false;
        bool runJavaScriptTextInputPanelWithPrompt = false;
        bool createWebViewWithConfiguration = false;
        bool webViewDidClose = false;
        bool shouldPreviewElement = false;
        bool previewingViewControllerForElement = false;
        bool commitPreviewingViewController = false;
    };
    template <class Delegate> static constexpr Methods methodsOf()
    {
        using Protocol = WKUIDelegate;
        return {
            .runJavaScriptAlertPanelWithMessage = implements<Alert, Delegate, Protocol>(),
            .runJavaScriptConfirmPanelWithMessage = implements<Confirm, Delegate, Protocol>(),
            .runJavaScriptTextInputPanelWithPrompt = implements<Prompt, Delegate, Protocol>(),
            .createWebViewWithConfiguration = implements<Create, Delegate, Protocol>(),
            .webViewDidClose = implements<Close, Delegate, Protocol>(),
            .shouldPreviewElement = implements<ShouldPreview, Delegate, Protocol>(),
            .previewingViewControllerForElement = implements<Preview, Delegate, Protocol>(),
            .commitPreviewingViewController = implements<CommitPreview, Delegate, Protocol>(),
        };
    }
    /// @endcond

private:
    template <class T> using Alert = decltype(&T::runJavaScriptAlertPanelWithMessage);
    template <class T> using Confirm = decltype(&T::runJavaScriptConfirmPanelWithMessage);
    template <class T> using Prompt = decltype(&T::runJavaScriptTextInputPanelWithPrompt);
    template <class T> using Create = decltype(&T::createWebViewWithConfiguration);
    template <class T> using Close = decltype(&T::webViewDidClose);
    template <class T> using ShouldPreview = decltype(&T::shouldPreviewElement);
    template <class T> using Preview = decltype(&T::previewingViewControllerForElement);
    template <class T> using CommitPreview = decltype(&T::commitPreviewingViewController);
};

} // namespace tq
