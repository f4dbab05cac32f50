#include "RoomEvents.h"

#include "JsonLines.h"
#include "Session.h"
#include "Text.h"
#include "Translation.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/JSONWriter.h"

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

void RoomEvents::tell(std::string_view event, boost::json::object fields, std::function<void(Session&)> task)
{
    // The session may let go of the view, which is still in the middle of the page's call; and it drops this object
    // when it turns to another view, whose room is none of this one's business. The line comes last, so that whoever
    // has read it can rely on what it says.
    tq::dispatchToMain([weakThis = weak_from_this(), lines = m_lines, task = std::move(task),
                           event = std::string(event), fields = std::move(fields)]() mutable {
        auto self = weakThis.lock();
        if (auto session = self ? self->m_session.lock() : nullptr)
            task(*session);
        lines->event(event, std::move(fields));
    });
}

void RoomEvents::onWBRoomQuit()
{
    tell("onWBRoomQuit", {}, [](Session& session) { session.happened("onWBRoomQuit"); });
}

void RoomEvents::onWBRoomException(const tq::TQWBException& exception)
{
    tell("onWBRoomException",
        { { "code", std::int64_t{ exception.code } }, { "msg", JsonLines::textOrNull(exception.msg) } },
        [failure = describeFailure(std::to_string(exception.code), exception.msg)](
            Session& session) { session.happened("onWBRoomException", failure, Severity::Failure); });
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
    tell("closePage", {}, [](Session& session) { session.happened("closePage", _("the page asks to be closed")); });
}

void RoomEvents::result(const std::string& call, tq::OptionalValue value)
{
    // A little more than is shown, so that what is cut is seen to be cut.
    auto shown = displayText(call, kLongestName) + " "
        + (value ? displayText(tq::writtenJSON(*value, kLongestValue + 1), kLongestValue) : "null");
    boost::json::object fields{ { "call", call }, { "value", nullptr } };
    if (value)
        fields["value"] = std::move(*value);
    tell("result", std::move(fields), [shown](Session& session) { session.happened("result", shown); });
}

void RoomEvents::exists(const std::string& function, bool exists)
{
    auto shown = displayText(function, kLongestName) + " " + (exists ? _("yes") : _("no"));
    tell("exists", { { "name", function }, { "value", exists } },
        [shown](Session& session) { session.happened("exists", shown); });
}

} // namespace tqclient
