#pragma once

#include "../Foundation/Export.h"
#include "../Foundation/NSTypes.h"
#include "../Foundation/WeakDelegate.h"

#include <functional>
#include <optional>
#include <string_view>

namespace tq {

class WKWebView;

/// The frame that asked. The engine does not tell frames apart, so this is the view's own page.
struct WKFrameInfo {
    /// The page's address; absent before the first page.
    OptionalText URL;
};

/// Answers what a page asks of its user. Every method is optional: one that a class does not have leaves the question
/// to the engine. All run on the main thread.
class TQWB_EXPORT WKUIDelegate {
public:
    virtual ~WKUIDelegate() = default;

    /// The page called `prompt(prompt, defaultText)` and waits.
    /// @param prompt @param defaultText valid during this call only.
    /// @param completion answers the page, with absent as null. It may be kept and called later, once; dropping it
    /// unanswered leaves the prompt to the engine.
    virtual void runJavaScriptTextInputPanelWithPrompt(WKWebView& webView, std::string_view prompt,
        std::optional<std::string_view> defaultText, const WKFrameInfo& frame,
        std::function<void(OptionalText)> completion);

    /// Which of the methods a class has.
    struct Methods {
        bool runJavaScriptTextInputPanelWithPrompt = false;
    };
    // clang-format off: it takes what follows "requires" for statements.
    template <class Delegate> static constexpr Methods methodsOf()
    {
        using Protocol = WKUIDelegate;
        return { .runJavaScriptTextInputPanelWithPrompt
            = !requires { requires std::same_as<decltype(&Delegate::runJavaScriptTextInputPanelWithPrompt),
                decltype(&Protocol::runJavaScriptTextInputPanelWithPrompt)>;
    }
    ,
};
} // namespace tq
}
;

} // namespace tq
