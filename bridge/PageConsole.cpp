#include "PageConsole.h"

#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSLog.h"
#include "platform/Foundation/NSNumberReading.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string>

namespace tq {

namespace {

constexpr const char* kName = "_tqconsole";

struct Kind {
    std::string_view name;
    TQWBLogLevel level;
};
constexpr std::array<Kind, 7> kKinds{ {
    { "log", TQWBLogLevel::Info },
    { "info", TQWBLogLevel::Info },
    { "warn", TQWBLogLevel::Warning },
    { "error", TQWBLogLevel::Error },
    { "debug", TQWBLogLevel::Debug },
    { "uncaught error", TQWBLogLevel::Error },
    { "unhandled rejection", TQWBLogLevel::Error },
} };

// A world of our own stands between the page and the messages: what a page sends without end must not reach the main
// loop, which cannot refuse it. The numbers are those of LineLimit, and somewhat more than a line of the log holds.
constexpr const char* kWorld = "_tqconsole";
constexpr const char* kRelay = R"js((() => {
    "use strict";
    const port = window.webkit.messageHandlers._tqconsole;
    const most = 100, length = 5000;
    let begin = 0, written = 0, leftOut = 0;

    function admit() {
        const time = Date.now();
        if (time - begin >= 1000 || time < begin) {
            begin = time;
            written = 0;
        }
        if (written < most) {
            ++written;
            return true;
        }
        if (!leftOut++)
            setTimeout(() => {
                port.postMessage(leftOut);
                leftOut = 0;
            }, 1000);
        return false;
    }

    // What an event brings from another world is a copy.
    window.addEventListener("_tqconsole", event => {
        try {
            if (admit())
                port.postMessage(event.detail.map(text => String(text).slice(0, length)));
        } catch {
        }
    });
})();)js";

// Takes what it needs of the page's globals before a script of the page can change them.
constexpr const char* kScript = R"js((() => {
    "use strict";
    const dispatchEvent = window.dispatchEvent.bind(window);
    const { CustomEvent, ErrorEvent } = window;
    const { stringify } = JSON;
    const { apply } = Reflect;
    const tagOf = Object.prototype.toString;
    const length = 5000, members = 1000;
    let isBusy = false;

    // The calls that have led to an error, the last one first. (One engine begins with the error itself.)
    function framesOf(error) {
        const lines = String(error.stack).split("\n").map(line => line.trim());
        return lines[0] === String(error).split("\n")[0].trim() ? lines.slice(1) : lines;
    }

    function textOf(value) {
        if (value instanceof Error)
            return [String(value), ...framesOf(value)].join(" < ");
        if (typeof value !== "object" || value === null)
            return String(value);
        let left = members;
        try {
            return stringify(value, (key, member) => {
                if (!left--)
                    throw new RangeError();
                return typeof member === "string" ? member.slice(0, length)
                    : typeof member === "bigint" ? String(member) : member;
            }) ?? apply(tagOf, value, []);
        } catch {
            return apply(tagOf, value, []);
        }
    }

    function lineOf(values) {
        let line = "";
        for (let i = 0; i < values.length && line.length < length; ++i)
            line += (i ? " " : "") + textOf(values[i]).slice(0, length);
        return line;
    }

    // The script that has called a function of the console. (A page may be its own address, a long one.)
    function caller() {
        const frame = framesOf(new Error())[3] ?? "";
        return frame.startsWith("at ") ? /[^ (]*?(?=\)?$)/.exec(frame)[0] : frame.slice(frame.indexOf("@") + 1);
    }
    function shortened(source) {
        return source.length > 300 ? `${source.slice(0, 140)}...${source.slice(-140)}` : source;
    }

    function report(kind, values, source) {
        // What is written may itself write, when it is looked at.
        if (isBusy)
            return;
        isBusy = true;
        try {
            dispatchEvent(new CustomEvent("_tqconsole",
                { detail: [kind, lineOf(values), shortened(source ?? caller())] }));
        } catch {
        } finally {
            isBusy = false;
        }
    }

    for (const kind of ["log", "info", "warn", "error", "debug"]) {
        const original = console[kind];
        console[kind] = function (...values) {
            report(kind, values);
            return apply(original, this, values);
        };
    }
    window.addEventListener("error", event => {
        if (event instanceof ErrorEvent)
            report("uncaught error", [event.message], `${event.filename}:${event.lineno}:${event.colno}`);
    });
    window.addEventListener("unhandledrejection", event => report("unhandled rejection", [event.reason], ""));
})();)js";

std::string_view textAt(const boost::json::array& list, std::size_t index)
{
    const auto* text = index < list.size() ? list[index].if_string() : nullptr;
    return text ? std::string_view(*text) : std::string_view();
}

} // namespace

void PageConsole::addTo(WKUserContentController& content)
{
    content.addScriptMessageHandler(shared_from_this(), kWorld, kName);
    content.addUserScript({ kRelay, WKUserScriptInjectionTime::AtDocumentStart, WKUserScriptFrames::All, {}, kWorld });
    content.addUserScript({ kScript, WKUserScriptInjectionTime::AtDocumentStart, WKUserScriptFrames::All });
}

// A list of texts from the page, or the number of those that the relay has left out.
void PageConsole::didReceiveScriptMessage(const WKScriptMessage& message)
{
    if (message.body && message.body->is_number()) {
        constexpr std::int64_t kMost = std::numeric_limits<std::uint32_t>::max();
        const auto lines = std::clamp<std::int64_t>(longLongValue(&*message.body), 0, kMost);
        m_limit.leaveOut(static_cast<std::uint32_t>(lines));
        return reportSoon();
    }
    const auto* entry = message.body ? message.body->if_array() : nullptr;
    if (!entry)
        return;
    const auto name = textAt(*entry, 0);
    const auto* kind = std::ranges::find(kKinds, name, &Kind::name);
    if (kind == kKinds.end())
        return;
    if (!m_limit.admit(std::chrono::steady_clock::now()))
        return reportSoon();
    const auto source = textAt(*entry, 2);
    NSLog(kind->level, std::string("Js console, ").append(name).append(": "), textAt(*entry, 1),
        source.empty() ? "" : " (" + logged(source) + ")");
}

void PageConsole::reportSoon()
{
    if (std::exchange(m_isReportDue, true))
        return;
    dispatchToMainAfter(std::chrono::seconds(1), [weak = weak_from_this()] {
        if (const auto self = weak.lock())
            self->reportLeftOut();
    });
}

void PageConsole::reportLeftOut()
{
    m_isReportDue = false;
    if (const auto lines = m_limit.takeLeftOut())
        NSLog(TQWBLogLevel::Warning, "Js console: " + std::to_string(lines) + " lines were left out");
}

} // namespace tq
