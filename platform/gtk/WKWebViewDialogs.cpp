#include "../Foundation/Dispatch.h"
#include "WKWebViewImpl.h"

namespace tq {

namespace {

// A prompt that waits for its answer. The engine's rules: inside the signal handler the answer is set and nothing is
// closed; an answer that comes later is set, then the dialog is closed; the last reference closes an unanswered one.
class PendingPrompt {
public:
    explicit PendingPrompt(WebKitScriptDialog* dialog)
        : m_dialog(dialog)
    {
    }
    ~PendingPrompt()
    {
        if (m_isKept)
            webkit_script_dialog_unref(m_dialog);
    }
    PendingPrompt(const PendingPrompt&) = delete;
    PendingPrompt& operator=(const PendingPrompt&) = delete;

    void answer(const OptionalText& text)
    {
        if (m_isAnswered)
            return;
        m_isAnswered = true;
        if (text)
            webkit_script_dialog_prompt_set_text(m_dialog, text->c_str());
        if (m_isKept)
            webkit_script_dialog_close(m_dialog);
    }
    bool isAnswered() const { return m_isAnswered; }
    void keep()
    {
        webkit_script_dialog_ref(m_dialog);
        m_isKept = true;
    }

private:
    WebKitScriptDialog* m_dialog;
    bool m_isAnswered = false;
    bool m_isKept = false;
};

} // namespace

gboolean WKWebView::Impl::scriptDialog(WebKitWebView*, WebKitScriptDialog* dialog, gpointer impl)
{
    if (webkit_script_dialog_get_dialog_type(dialog) != WEBKIT_SCRIPT_DIALOG_PROMPT)
        return FALSE;
    const EngineCall call(impl);
    // A page whose view is about to go gets null, and its user no question.
    if (call.isTooLate())
        return TRUE;
    auto& view = call.impl().view;
    const auto delegate = view.m_uiDelegate.respondingTo(&WKUIDelegate::Methods::runJavaScriptTextInputPanelWithPrompt);
    if (!delegate)
        return FALSE;
    auto prompt = std::make_shared<PendingPrompt>(dialog);
    const char* text = webkit_script_dialog_get_message(dialog);
    const char* defaultText = webkit_script_dialog_prompt_get_default_text(dialog);
    runGuarded([&] {
        delegate->runJavaScriptTextInputPanelWithPrompt(view, text ? text : "",
            defaultText ? std::optional<std::string_view>(defaultText) : std::nullopt, { view.URL() },
            [prompt](const OptionalText& answer) { prompt->answer(answer); });
    });
    if (prompt->isAnswered())
        return TRUE;
    // Nobody kept the question: it is the engine's.
    if (prompt.use_count() == 1)
        return FALSE;
    prompt->keep();
    return TRUE;
}

} // namespace tq
