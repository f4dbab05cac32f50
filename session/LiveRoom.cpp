#include "LiveRoom.h"

#include "navigation/TQWBNaviManager.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSLog.h"

#include <utility>

namespace tq {

namespace {

constexpr int kMostRepeats = 3;
constexpr int kMostReconnects = 3;
// A page that has been shown for so long and is lost is not the one that was lost before.
constexpr std::chrono::minutes kSteadyTime{ 1 };

TQWBError errorOf(const NSError& error, TQWBErrorCategory category, NSUInteger code)
{
    const bool isUntrusted = error.code == NSURLErrorServerCertificateUntrusted;
    return { isUntrusted ? TQWBErrorCategory::Certificate : category, code, error.localizedDescription };
}

TQWBError refusalOf(const ServiceAnswer& answer)
{
    return { TQWBErrorCategory::Service, answer.failureCode(), answer.failureText().value_or("") };
}

TQWBError unreadable(NSInteger status)
{
    constexpr NSInteger kUnauthorized = 401;
    return { status == kUnauthorized ? TQWBErrorCategory::Token : TQWBErrorCategory::Service,
        TQWBRoomCodeAnswerUnreadable,
        "What answered is not the conference service (status " + std::to_string(status) + ")." };
}

} // namespace

LiveRoom::LiveRoom(TQWBRoomOptions options)
    : m_options(std::move(options))
{
}

std::shared_ptr<LiveRoom> LiveRoom::make(TQWBRoomOptions options)
{
    std::shared_ptr<LiveRoom> room(new LiveRoom(std::move(options)));
    room->m_view = TQWBWebView::initWithFrame(room->m_options.frame, room->m_options.configuration);
    if (room->m_view) {
        room->m_view->setAcceptedCertificates(room->m_options.acceptedCertificates);
        room->m_view->setNavigationDelegate(room);
        room->m_view->setPageWatcher(room);
    }
    return room;
}

// What an answer does that may come too late.
template <class Task> auto LiveRoom::inTime(Task task)
{
    return [weak = std::weak_ptr(self()), entry = m_entry, task](const auto&... answer) {
        if (const auto room = weak.lock(); room && room->m_entry == entry && !room->isOver())
            task(*room, answer...);
    };
}

// At a later turn of the main loop: the page and the engine are in the middle of a call.
template <class Task> void LiveRoom::later(Task task) { dispatchToMain(inTime(task)); }

// Unless the counter has gone on by then.
template <class Task> void LiveRoom::after(Milliseconds delay, const std::uint64_t& counter, Task task)
{
    dispatchToMainAfter(delay, [weak = std::weak_ptr(self()), &counter, number = counter, task] {
        if (const auto room = weak.lock(); room && counter == number && !room->isOver())
            task(*room);
    });
}

const OptionalText& LiveRoom::appKey() const
{
    return std::visit([](const auto& record) -> const OptionalText& { return record.appKey; }, m_record);
}

const OptionalText& LiveRoom::token() const
{
    return std::visit([](const auto& record) -> const OptionalText& { return record.token; }, m_record);
}

void LiveRoom::begin(RoomRecord record)
{
    m_record = std::move(record);
    if (refuses(m_record))
        return;
    if (!m_view) {
        finish(TQWBError{ TQWBErrorCategory::Usage, TQWBRoomCodeNoDisplay, "There is no display to show a room on." });
        return;
    }
    setDeadline();
    find();
}

void LiveRoom::setDeadline()
{
    ++m_entry;
    after(m_options.timeLimit, m_entry, [](LiveRoom& room) {
        if (room.state() == TQWBRoomState::Shown || room.state() == TQWBRoomState::Leaving)
            return;
        const auto category = room.m_isOpening ? TQWBErrorCategory::Page : TQWBErrorCategory::Network;
        room.finish(TQWBError{ category, TQWBRoomCodeTimedOut,
            "The room was not shown within " + std::to_string(room.m_options.timeLimit.count()) + " ms." });
    });
}

// Whether it goes on: whoever is told may leave the room. One that comes back is reconnecting until it is shown.
bool LiveRoom::advance(TQWBRoomState state)
{
    const auto entry = m_entry;
    if (this->state() != TQWBRoomState::Reconnecting && this->state() != TQWBRoomState::Leaving)
        become(state);
    return !isOver() && m_entry == entry;
}

void LiveRoom::find()
{
    if (!advance(TQWBRoomState::Finding))
        return;
    if (auto remembered = m_service ? nullptr : TQWBNaviManager::sharedInstance()->freshNaviData(appKey(), token())) {
        m_service = std::move(remembered);
        m_isRemembered = true;
        join();
        return;
    }
    m_isRemembered = false;
    m_search = ServiceSearch::begin(
        appKey(), token(), [this](std::shared_ptr<const TQWBNaviDataInfo> service, TQWBError error) {
            const auto room = self();
            // It is gone with its last reference, and this with it.
            const auto search = std::move(m_search);
            if (!service) {
                finish(std::move(error));
                return;
            }
            m_service = std::move(service);
            join();
        });
}

void LiveRoom::join()
{
    if (!advance(TQWBRoomState::Joining))
        return;
    if (!roomConfig()) {
        sendJoin();
        return;
    }
    // A quit that is still on its way would take the newcomer along.
    Membership::whenFree(*roomConfig(), inTime([](LiveRoom& room) { room.sendJoin(); }));
}

void LiveRoom::sendJoin()
{
    auto answered = inTime([](LiveRoom& room, const ServiceReply& reply) { room.joined(reply); });
    if (roomConfig())
        m_membership = Membership::join(m_service, *roomConfig(), m_membership, std::move(answered));
    else
        sendToService(nullptr, playRequest(m_service.get(), std::get<TQWBRecordConfig>(m_record)),
            [answered = std::move(answered)](
                const ServiceReply& reply) { dispatchToMain([answered, reply] { answered(reply); }); });
}

void LiveRoom::joined(const ServiceReply& reply)
{
    constexpr NSInteger kFirstRefusal = 300;
    const auto& kind = requestKind();
    const auto& answer = reply.answer;
    if (reply.transportError) {
        logFailure(kind, reply.transportError->localizedDescription);
        const bool isUnsent = reply.transportError->code == NSURLErrorUnsupportedURL;
        if (isUnsent || !findAgain())
            finish(errorOf(*reply.transportError, isUnsent ? TQWBErrorCategory::Usage : TQWBErrorCategory::Network,
                kind.transportCode));
    } else if (answer.code) {
        logFailure(kind, logged(answer.desc));
        finish(refusalOf(answer));
    } else if (!answer.isReadable || !answer.key || reply.status >= kFirstRefusal) {
        const auto error = unreadable(reply.status);
        logFailure(kind, error.text);
        if (!findAgain())
            finish(error);
    } else {
        load(answer.key);
    }
}

// The service may have moved since it was found.
bool LiveRoom::findAgain()
{
    if (!std::exchange(m_isRemembered, false))
        return false;
    leaveService();
    find();
    return true;
}

void LiveRoom::load(const OptionalText& key)
{
    m_pageAddress = roomPageAddress(m_service.get(), key);
    if (m_pageAddress.empty()) {
        logFailure(requestKind(), "url is nil");
        finish(TQWBError{ TQWBErrorCategory::Service, requestKind().urlMissingCode, "url is nil" });
        return;
    }
    if (!NSURL::URLWithString(m_pageAddress)) {
        finish(TQWBError{ TQWBErrorCategory::Service, TQWBRoomCodeAnswerUnreadable,
            "The service's answer does not make an address of the room's page." });
        return;
    }
    logSuccess(requestKind());
    if (!advance(TQWBRoomState::Loading))
        return;
    m_repeats = 0;
    openPage();
}

void LiveRoom::openPage()
{
    ++m_opening;
    m_isOpening = true;
    m_hasBegun = false;
    auto servers = m_options.expectedServers;
    servers.push_back(leaseAddress(m_service.get()));
    m_view->expectServers(std::move(servers));
    m_view->loadUrl(m_pageAddress);
    after(m_options.pagePatience, m_opening, [](LiveRoom& room) {
        if (!room.m_hasBegun)
            room.openPageAgain(
                { TQWBErrorCategory::Page, TQWBRoomCodePageSilent, "The room's page does not begin to arrive." });
    });
}

// Engines have been seen to hold a connection and to ask nothing of it, for ever.
void LiveRoom::openPageAgain(TQWBError reason)
{
    if (!m_isOpening)
        return;
    if (m_repeats == kMostRepeats) {
        finish(std::move(reason));
        return;
    }
    ++m_repeats;
    NSLog(TQWBLogLevel::Warning, "[TQ:Log] the room's page is asked for again: " + reason.text);
    openPage();
}

void LiveRoom::shown()
{
    m_isOpening = false;
    ++m_opening;
    m_shownAt = std::chrono::steady_clock::now();
    become(TQWBRoomState::Shown);
}

void LiveRoom::pageFailed(const NSError& error)
{
    if (error.code == NSURLErrorCancelled)
        return;
    later([error](LiveRoom& room) {
        const bool isUntrusted = error.code == NSURLErrorServerCertificateUntrusted;
        if (room.m_isOpening)
            room.finish(errorOf(
                error, TQWBErrorCategory::Page, isUntrusted ? TQWBRoomCodePageUntrusted : TQWBRoomCodePageUnreachable));
        else if (room.state() == TQWBRoomState::Shown)
            room.reconnect();
    });
}

void LiveRoom::reconnect()
{
    if (std::chrono::steady_clock::now() - m_shownAt > kSteadyTime)
        m_reconnects = 0;
    if (m_reconnects == kMostReconnects) {
        finish(TQWBError{ TQWBErrorCategory::Page, TQWBRoomCodePageLost, "The room's page was lost again and again." });
        return;
    }
    ++m_reconnects;
    m_isRemembered = true;
    setDeadline();
    if (advance(TQWBRoomState::Reconnecting))
        join();
}

// Stops whatever is under way.
void LiveRoom::stop()
{
    ++m_entry;
    ++m_opening;
    m_isOpening = false;
    m_search.reset();
}

// With nobody who waits for the end of it.
void LiveRoom::leaveService()
{
    if (const auto membership = std::exchange(m_membership, nullptr))
        membership->leave([](const auto&) {});
}

void LiveRoom::tellService()
{
    stop();
    if (!m_membership) {
        finish(std::nullopt);
        return;
    }
    m_membership->leave([weak = std::weak_ptr(self())](const std::optional<ServiceReply>& reply) {
        const auto room = weak.lock();
        if (!room || room->isOver())
            return;
        room->m_membership.reset();
        if (reply && reply->transportError)
            room->finish(errorOf(*reply->transportError, TQWBErrorCategory::Network, kQuitRequest.transportCode));
        else if (reply && reply->answer.code)
            room->finish(refusalOf(reply->answer));
        else
            room->finish(std::nullopt);
    });
}

void LiveRoom::giveUp()
{
    stop();
    leaveService();
    if (auto view = std::exchange(m_view, nullptr)) {
        view->setPageWatcher({});
        view->close();
        if (isDropped())
            return;
        // Calls of its page are told at the next turn that it has ended; a room that is dropped before takes them
        // along.
        m_closedView = std::move(view);
        dispatchToMain([weak = std::weak_ptr(self())] {
            if (const auto room = weak.lock())
                room->m_closedView.reset();
        });
    }
}

void LiveRoom::didStartProvisionalNavigation(WKWebView& webView, const WKNavigation& navigation)
{
    if (m_view)
        m_view->didStartProvisionalNavigation(webView, navigation);
}

// A room's page may load itself anew; another one in its place would not be the room.
WKNavigationActionPolicy LiveRoom::decidePolicyForNavigationAction(WKWebView& webView, const WKNavigationAction& action)
{
    const auto& address = action.request.URL;
    const bool isRoom = address && address->origin() == webView.pageOrigin();
    return isRoom || state() != TQWBRoomState::Shown ? WKNavigationActionPolicy::Allow
                                                     : WKNavigationActionPolicy::Cancel;
}

void LiveRoom::decidePolicyForNavigationResponse(WKWebView&, const WKNavigationResponse& navigationResponse,
    std::function<void(WKNavigationResponsePolicy)> decisionHandler)
{
    constexpr NSInteger kFirstRefusal = 400;
    const auto status = navigationResponse.response.statusCode;
    if (!m_isOpening || !navigationResponse.isForMainFrame || status < kFirstRefusal) {
        m_hasBegun |= navigationResponse.isForMainFrame;
        decisionHandler(WKNavigationResponsePolicy::Allow);
        return;
    }
    decisionHandler(WKNavigationResponsePolicy::Cancel);
    later([status](LiveRoom& room) {
        if (room.m_isOpening)
            room.finish(TQWBError{ TQWBErrorCategory::Page, static_cast<NSUInteger>(status),
                "The server of the room's page has answered with status " + std::to_string(status) + "." });
    });
}

void LiveRoom::didFinishNavigation(WKWebView&, const WKNavigation&)
{
    if (!m_isOpening)
        return;
    after(m_options.loadEndPatience, m_opening, [](LiveRoom& room) {
        NSLog(TQWBLogLevel::Warning, "[TQ:Log] the room's page has loaded and does not say so");
        room.shown();
    });
}

// A page that is shown stays when what it leads to cannot be had.
void LiveRoom::didFailProvisionalNavigation(WKWebView&, const WKNavigation&, const NSError& error)
{
    if (m_isOpening)
        pageFailed(error);
}

void LiveRoom::didFailNavigation(WKWebView&, const WKNavigation&, const NSError& error) { pageFailed(error); }

void LiveRoom::webViewWebContentProcessDidTerminate(WKWebView&)
{
    later([](LiveRoom& room) {
        if (room.m_isOpening)
            room.openPageAgain(
                { TQWBErrorCategory::Page, TQWBRoomCodePageLost, "The process of the room's page has ended." });
        else if (room.state() == TQWBRoomState::Shown)
            room.reconnect();
    });
}

// Whoever is to be let in by a name and a password is refused, which its status says.
void LiveRoom::didReceiveAuthenticationChallenge(
    WKWebView&, const NSURLAuthenticationChallenge&, ChallengeCompletion completion)
{
    completion(NSURLSessionAuthChallengeDisposition::PerformDefaultHandling, std::nullopt);
}

void LiveRoom::pageHasLoaded()
{
    later([opening = m_opening](LiveRoom& room) {
        if (room.m_isOpening && room.m_opening == opening)
            room.shown();
    });
}

void LiveRoom::roomWasQuit()
{
    later([](LiveRoom& room) {
        if (room.state() == TQWBRoomState::Leaving)
            return;
        if (room.m_membership)
            room.m_membership->forget();
        room.finish(std::nullopt);
    });
}

void LiveRoom::roomHasFailed(const TQWBException& exception)
{
    later([exception](LiveRoom& room) {
        if (room.state() == TQWBRoomState::Leaving)
            return;
        // The user may be in the room from another place by now.
        if (room.m_membership)
            room.m_membership->forget();
        room.finish(
            TQWBError{ TQWBErrorCategory::Page, static_cast<NSUInteger>(exception.code), exception.msg.value_or("") });
    });
}

// If the page has said at the same time that it is over, that counts.
void LiveRoom::viewWasClosed()
{
    later([](LiveRoom& room) {
        room.later([](LiveRoom& same) {
            same.finish(TQWBError{
                TQWBErrorCategory::Cancelled, TQWBRoomCodeCancelled, "The application has closed the room's view." });
        });
    });
}

} // namespace tq
