#include "PageScripts.h"

#include "PageQuestion.h"

namespace tq {

namespace {

// Takes what it needs of the page's globals before a script of the page can change them. Calls (prompts that begin with
// "_dsbridge=") go as they are; with dialogs the engine would cut a long text.
constexpr const char* kQuestionScript = R"js((() => {
    "use strict";
    const { apply } = Reflect;
    const { parse, stringify } = JSON;
    const { startsWith, slice } = String.prototype;
    const Request = XMLHttpRequest;
    const { open, send } = Request.prototype;
    const { get: responseText } = Object.getOwnPropertyDescriptor(Request.prototype, "responseText");
    const plain = window.prompt;
    const begins = (text, beginning) => apply(startsWith, text, [beginning]);

    // Waits for what a ticket is good for.
    function answerFor(ticket) {
        try {
            const request = new Request();
            apply(open, request, ["GET", "%1:" + apply(slice, ticket, [%2]), false]);
            apply(send, request, []);
            return parse(apply(responseText, request, []));
        } catch {
            // The page may not wait (by its Permissions-Policy), or is on its way out.
            apply(plain, window, ["%6", ticket]);
            return null;
        }
    }

    function call(text, defaultText) {
        const answer = apply(plain, window, [text, defaultText]);
        return answer !== null && begins(answer, "%3") ? answerFor(answer) : answer;
    }

    function question(...parts) {
        const answer = apply(plain, window, ["%4", stringify(parts)]);
        if (answer === null)
            return null;
        return begins(answer, "%3") ? answerFor(answer) : apply(slice, answer, [%5]);
    }

    window.alert = function alert(...given) {
        question("alert", given.length ? `${given[0]}` : "");
    };
    window.confirm = function confirm(message = "") {
        return question("confirm", `${message}`) !== null;
    };
    window.prompt = function prompt(message = "", text = "") {
        message = `${message}`;
        text = `${text}`;
        return begins(message, "_dsbridge=") ? call(message, text) : question("prompt", message, text);
    };
})();)js";

constexpr const char* kScrollScript = R"js((() => {
    "use strict";
    const sheet = window._tqscroll ??= new CSSStyleSheet();
    sheet.replaceSync("%1");
    if (!document.adoptedStyleSheets.includes(sheet))
        document.adoptedStyleSheets = [...document.adoptedStyleSheets, sheet];
})();)js";

constexpr const char* kPostingScript = R"js((() => {
    "use strict";
    const { stringify } = JSON;
    const post = window.prompt.bind(window);
    const { messageHandlers } = window.webkit ||= { messageHandlers: {} };
    messageHandlers["%2"] ||= { postMessage: (value) => void post("%1%2", stringify(value)) };
})();)js";

} // namespace

QString questionScript()
{
    static const auto s_script = QString(kQuestionScript)
                                     .arg(kAnswerScheme, QString::number(qstrlen(kTicket)), kTicket, kQuestion,
                                         QString::number(qstrlen(kAnswer)), kUnused);
    return s_script;
}

QString arrivalScript(const QString& prompt) { return QString("window.prompt('%1', location.href);").arg(prompt); }

QString postingScript(const QString& prefix, const QString& name) { return QString(kPostingScript).arg(prefix, name); }

QString scrollScript(const UIScrollView& scrollView)
{
    // A body that is cut off by the root lies where it always did.
    QString rules;
    if (!scrollView.scrollEnabled || !scrollView.panGestureRecognizerEnabled)
        rules += ":root { overflow: hidden !important } :root > body { overflow: visible !important }";
    if (!scrollView.pinchGestureRecognizerEnabled)
        rules += ":root { touch-action: pan-x pan-y !important }";
    return QString(kScrollScript).arg(rules);
}

QString guardedScript(const QString& script)
{
    return "try {" + script + "\n} catch (error) { ({ failure: `${error}` }) }";
}

} // namespace tq
