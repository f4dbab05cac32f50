#include "RoomEvents.h"

#include "JsonLines.h"
#include "MainThread.h"
#include "Session.h"
#include "Text.h"
#include "Translation.h"

namespace tqclient {

namespace {

// What the window shows of a page function's name and of its answer, in bytes.
constexpr std::size_t kLongestName = 100;
constexpr std::size_t kLongestValue = 200;

} // namespace

RoomEvents::RoomEvents(std::shared_ptr<JsonLines> lines, std::weak_ptr<Session> session)
    : m_lines(std::move(lines))
    , m_session(std::move(session))
{
}

void RoomEvents::tell(std::function<void(Session&)> task, std::function<void(JsonLines&)> print)
{
    // The session may let go of the view, which is still in the middle of the page's call; and it drops this object
    // when it turns to another view, whose room is none of this one's business. The line comes last, so that whoever
    // has read it can rely on what it says.
    postToMain([weakThis = weak_from_this(), lines = m_lines, task = std::move(task), print = std::move(print)] {
        auto self = weakThis.lock();
        if (auto session = self ? self->m_session.lock() : nullptr)
            task(*session);
        print(*lines);
    });
}

void RoomEvents::tell(std::string_view event, boost::json::object fields, std::function<void(Session&)> task)
{
    tell(std::move(task),
        [event = std::string(event), fields = std::move(fields)](JsonLines& lines) { lines.event(event, fields); });
}

void RoomEvents::onWBRoomQuit()
{
    tell("onWBRoomQuit", {}, [](Session& session) { session.roomWasQuit(); });
}

void RoomEvents::onWBRoomException(const tq::TQWBException& exception)
{
    tell("onWBRoomException",
        { { "code", std::int64_t{ exception.code } }, { "msg", JsonLines::textOrNull(exception.msg) } },
        [exception](Session& session) { session.roomHasFailed(exception); });
}

void RoomEvents::onWBCaptureEnd(const std::shared_ptr<tq::UIImage>& image)
{
    using boost::json::value;
    tell("onWBCaptureEnd",
        { { "width", image ? value(image->width()) : value() },
            { "height", image ? value(image->height()) : value() } },
        [image](Session& session) { session.boardWasCaptured(image); });
}

void RoomEvents::onWBRecordStart()
{
    tell("onWBRecordStart", {}, [](Session& session) { session.recordingHasStarted(); });
}

void RoomEvents::onWBRecordEnd(const tq::OptionalText& url)
{
    tell("onWBRecordEnd", { { "url", JsonLines::textOrNull(url) } },
        [url](Session& session) { session.recordingHasEnded(url); });
}

void RoomEvents::onWBPermissionChange(tq::NSInteger status)
{
    tell("onWBPermissionChange", { { "status", std::int64_t{ status } } },
        [status](Session& session) { session.permissionHasChanged(status); });
}

void RoomEvents::closePage()
{
    tell("closePage", {}, [](Session& session) { session.pageWantsToBeClosed(); });
}

void RoomEvents::result(const std::string& call, tq::OptionalValue value)
{
    auto shown = displayText(call, kLongestName) + " " + (value ? displayJson(*value, kLongestValue) : "null");
    tell([shown](Session& session) { session.pageHasAnswered("result", shown); },
        [call, answer = std::make_shared<tq::OptionalValue>(std::move(value))](
            JsonLines& lines) { lines.result(call, std::move(*answer)); });
}

void RoomEvents::exists(const std::string& function, bool exists)
{
    auto shown = displayText(function, kLongestName) + " " + (exists ? _("yes") : _("no"));
    tell("exists", { { "name", function }, { "value", exists } },
        [shown](Session& session) { session.pageHasAnswered("exists", shown); });
}

} // namespace tqclient
