#include "PagePorts.h"

#include "CallMessage.h"
#include "CallbackName.h"
#include "NativeObjects.h"
#include "Secret.h"
#include "TQWhiteBoardLib/DWKWebView.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSJSONSerialization.h"
#include "platform/Foundation/NSLog.h"
#include "platform/Foundation/NSNumberReading.h"

#include <charconv>
#include <chrono>
#include <limits>
#include <optional>
#include <utility>

namespace tq {

namespace {

constexpr const char* kHandler = "_tqcalls";
// Copies of the page's script, each with one of its own.
constexpr std::size_t kMostPorts = 64;
// It stands in every script.
constexpr std::size_t kLongestReceiver = 100;
// A page half waits for the answer to a message before it sends the next, or for one of a call that stops it. Large
// messages are fewer.
constexpr std::size_t kMostUnanswered = 1000;
constexpr std::size_t kMostLarge = 8;
constexpr std::size_t kMostUnansweredBytes = 32UL * 1024 * 1024;
// At a time.
constexpr std::chrono::milliseconds kLongestWork(8);

// Takes what lies before the sign off the beginning, and the sign; everything where there is none.
std::string_view takeUntil(std::string_view& text, char sign)
{
    const auto end = text.find(sign);
    const auto taken = text.substr(0, end);
    text.remove_prefix(end == text.npos ? text.size() : end + 1);
    return taken;
}

// A call as a line of a message has it: its number (none where nobody waits for a result), the method's name as JSON
// (empty where it cannot be read), and the message that a prompt would have. A negative number alone: the page has
// given that call up.
struct CallLine {
    explicit CallLine(std::string_view line)
    {
        const auto digits = takeUntil(line, '\t');
        std::int64_t read = 0;
        if (const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), read);
            error == std::errc() && end == digits.data() + digits.size()
            && read != std::numeric_limits<std::int64_t>::min())
            number = read;
        const auto quoted = takeUntil(line, '\t');
        if (!quoted.starts_with('"'))
            return;
        if (const auto name = NSJSONSerialization::JSONObjectWithData(quoted); name && name->is_string())
            method = name->get_string();
        message = line;
    }

    std::optional<std::int64_t> number;
    std::string method;
    std::string_view message;
};

} // namespace

const NSClass& PagePorts::staticClass()
{
    static const auto table
        = NSClass::of<PagePorts>("PagePorts", &NSObject::staticClass(), { { "open:", &PagePorts::open } });
    return table;
}

PagePorts::PagePorts(std::weak_ptr<DWKWebView> view)
    : m_view(std::move(view))
{
}

PagePorts::~PagePorts() { PagePorts::close(); }

void PagePorts::addTo(WKUserContentController& content)
{
    content.addScriptMessageHandlerWithReply(shared_from_this(), {}, kHandler);
}

void PagePorts::close()
{
    ++m_pages;
    m_unanswered = {};
    m_work.clear();
    for (const auto& [token, open] : std::exchange(m_ports, {}))
        open.port->close();
}

OptionalValue PagePorts::open(OptionalValue request)
{
    const auto view = m_view.lock();
    const auto receiver = textValue(memberOf(request, "receiver"));
    if (!view || !receiver || receiver->size() > kLongestReceiver || !isCallable(*receiver)
        || m_ports.size() >= kMostPorts)
        return std::nullopt;
    auto evaluate = [weak = m_view](const std::string& script, std::function<void()> over) {
        const auto target = weak.lock();
        if (target && target->isPageAllowed())
            target->evaluateJavaScript(script, [over = std::move(over)](auto&&...) { over(); });
        else
            over();
    };
    auto port = std::make_shared<PagePort>(*receiver, std::move(evaluate), [weak = m_view, pages = m_pages] {
        const auto target = weak.lock();
        if (target && target->m_ports->m_pages == pages)
            endPage(*target, "the page does not take its results");
    });
    auto token = newSecret();
    boost::json::object answer{ { "port", token }, { "mark", port->newMark() } };
    // Who has come so far has shown whose frame it is, if that is asked.
    m_ports.emplace(std::move(token), OpenPort{ std::move(port), view->m_callingFrames != CallingFrames::All });
    return answer;
}

std::string PagePorts::fetch(std::optional<std::string_view> argumentMessage)
{
    const auto request = CallMessage::read(argumentMessage).data;
    const auto token = textValue(memberOf(request, "port"));
    const auto call = wholeNumber(memberOf(request, "call"));
    const auto found = token ? m_ports.find(*token) : m_ports.end();
    auto message = found != m_ports.end() && call ? found->second.port->fetch(*call) : std::nullopt;
    return message ? std::move(*message) : NativeObjects::refusal();
}

void PagePorts::endPage(DWKWebView& view, std::string_view reason)
{
    NSLog(TQWBLogLevel::Error, "Js bridge: ", reason, ", and its process is ended");
    view.terminatePage();
}

bool PagePorts::isFlooded(std::size_t bytes)
{
    ++m_unanswered.messages;
    m_unanswered.bytes += bytes;
    return m_unanswered.messages > kMostUnanswered
        || (m_unanswered.messages > kMostLarge && m_unanswered.bytes > kMostUnansweredBytes);
}

struct PagePorts::Work {
    // Of a message.
    std::shared_ptr<PagePort> port;
    bool isAllowed = false;
    boost::json::string text;
    std::string_view calls;
    std::shared_ptr<WKScriptMessageReply> reply;
    // Of a page that waits.
    std::function<void()> answer;
};

// Lines: which port, and the mark of the last answer that the page has read; then calls.
void PagePorts::didReceiveScriptMessage(WKScriptMessage&& message, const std::shared_ptr<WKScriptMessageReply>& reply)
{
    const auto view = m_view.lock();
    if (!view)
        return;
    auto work = std::make_shared<Work>();
    if (auto* body = message.body ? message.body->if_string() : nullptr)
        work->text = std::move(*body);
    work->calls = work->text;
    auto head = takeUntil(work->calls, '\n');
    const auto found = m_ports.find(takeUntil(head, '\t'));
    if (found != m_ports.end() && found->second.port->isLastMark(head)) {
        m_unanswered = {};
    } else if (isFlooded(work->text.size())) {
        endPage(*view, "the page sends without end");
        return;
    }
    if (found == m_ports.end()) {
        reply->returnError("no such port is open");
        return;
    }
    work->port = found->second.port;
    work->isAllowed
        = view->isPageAllowed() && (view->m_callingFrames == CallingFrames::All || found->second.isOfMainFrame);
    work->reply = reply;
    m_work.push_back(std::move(work));
    if (!m_isWorkDue)
        this->work();
}

bool PagePorts::catchUp()
{
    m_unanswered = {};
    if (!m_work.empty() && !m_isWorkDue)
        work();
    return m_work.empty();
}

void PagePorts::answerLater(std::function<void()> answer)
{
    m_work.push_back(std::make_shared<Work>());
    m_work.back()->answer = std::move(answer);
}

// Some of it; a message may hold more calls than the main loop has time for at once. A method may run a loop of its
// own, in which more is done.
void PagePorts::work()
{
    const auto self = shared_from_this();
    const auto view = m_view.lock();
    const auto end = std::chrono::steady_clock::now() + kLongestWork;
    while (view && !m_work.empty()) {
        if (std::chrono::steady_clock::now() > end)
            return workSoon();
        const auto next = m_work.front();
        if (next->answer) {
            m_work.pop_front();
            next->answer();
        } else if (!next->calls.empty()) {
            perform(*view, *next);
        } else {
            m_work.pop_front();
            next->port->answer([&](std::string_view batch) { std::exchange(next->reply, nullptr)->returnText(batch); });
        }
    }
}

// What has a lower priority, drawing for example, has its turn before.
void PagePorts::workSoon()
{
    if (std::exchange(m_isWorkDue, true))
        return;
    dispatchToMainAfter(std::chrono::milliseconds(1), [weak = weak_from_this()] {
        if (const auto self = weak.lock()) {
            self->m_isWorkDue = false;
            self->work();
        }
    });
}

void PagePorts::perform(DWKWebView& view, Work& message)
{
    const CallLine call(takeUntil(message.calls, '\n'));
    auto& port = *message.port;
    if (call.number && *call.number < 0)
        return port.giveUp(-*call.number);
    // What is no call is not worth a line of the log.
    if (!message.isAllowed || call.method.empty()) {
        if (call.number && *call.number > 0)
            port.add(*call.number, Complete::Yes, NativeObjects::refusal());
        return;
    }
    auto read = CallMessage::read(call.message);
    std::shared_ptr<PagePort::Result> result;
    // Whether results are wanted is for the number to say, whatever the message holds.
    read.callbackName = call.number ? OptionalText("") : std::nullopt;
    read.asksForMore = true;
    auto outcome = view.performGuarded(
        call.method, std::move(read), [&](PageCallback) { return result = port.makeResult(*call.number); });
    if (result && !outcome)
        result->hasFailed();
    else if (result && outcome->result)
        result->hasBeenCalled();
    else if (call.number)
        port.add(*call.number, Complete::Yes, outcome ? std::move(outcome->message) : std::string(PagePort::kFailure));
    // The message has been answered within the method already.
    if (!message.reply)
        port.flushSoon();
}

} // namespace tq
