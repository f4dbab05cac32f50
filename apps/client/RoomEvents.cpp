#include "RoomEvents.h"

#include "JsonLines.h"
#include "MainThread.h"
#include "Session.h"

namespace tqclient {

RoomEvents::RoomEvents(std::shared_ptr<JsonLines> lines, std::weak_ptr<Session> session)
    : m_lines(std::move(lines))
    , m_session(std::move(session))
{
}

void RoomEvents::tellSession(std::function<void(Session&)> task)
{
    // The session may let go of the view, which is still in the middle of the page's call; and it drops this object
    // when it turns to another view, whose room is none of this one's business.
    postToMain([weakThis = weak_from_this(), task = std::move(task)] {
        auto self = weakThis.lock();
        if (auto session = self ? self->m_session.lock() : nullptr)
            task(*session);
    });
}

void RoomEvents::onWBRoomQuit()
{
    m_lines->event("onWBRoomQuit");
    tellSession([](Session& session) { session.roomWasQuit(); });
}

void RoomEvents::onWBRoomException(const tq::TQWBException& exception)
{
    m_lines->event("onWBRoomException",
        { { "code", std::int64_t{ exception.code } }, { "msg", JsonLines::textOrNull(exception.msg) } });
    tellSession([exception](Session& session) { session.roomHasFailed(exception); });
}

void RoomEvents::onWBCaptureEnd(const std::shared_ptr<tq::UIImage>& image)
{
    using boost::json::value;
    m_lines->event("onWBCaptureEnd",
        { { "width", image ? value(image->width()) : value() },
            { "height", image ? value(image->height()) : value() } });
    tellSession([image](Session& session) { session.boardWasCaptured(image); });
}

void RoomEvents::onWBRecordStart()
{
    m_lines->event("onWBRecordStart");
    tellSession([](Session& session) { session.recordingHasStarted(); });
}

void RoomEvents::onWBRecordEnd(const tq::OptionalText& url)
{
    m_lines->event("onWBRecordEnd", { { "url", JsonLines::textOrNull(url) } });
    tellSession([url](Session& session) { session.recordingHasEnded(url); });
}

void RoomEvents::onWBPermissionChange(tq::NSInteger status)
{
    m_lines->event("onWBPermissionChange", { { "status", std::int64_t{ status } } });
    tellSession([status](Session& session) { session.permissionHasChanged(status); });
}

void RoomEvents::closePage()
{
    m_lines->event("closePage");
    tellSession([](Session& session) { session.pageWantsToBeClosed(); });
}

} // namespace tqclient
