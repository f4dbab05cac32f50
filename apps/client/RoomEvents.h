#pragma once

#include "TQWhiteBoardLib/TQWBPermissionProtocol.h"
#include "TQWhiteBoardLib/TQWBRecordProtocol.h"
#include "TQWhiteBoardLib/TQWBRoomStatusProtocol.h"

#include <boost/json/object.hpp>
#include <functional>
#include <memory>
#include <string_view>

namespace tqclient {

class JsonLines;
class Session;

/// The delegate of one view: tells the session what the room's page reports, and prints it, once the page has its
/// answer.
class RoomEvents final : public tq::TQWBRoomStatusProtocol,
                         public tq::TQWBRecordProtocol,
                         public tq::TQWBPermissionProtocol,
                         public std::enable_shared_from_this<RoomEvents> {
public:
    RoomEvents(std::shared_ptr<JsonLines> lines, std::weak_ptr<Session> session);

    void onWBRoomQuit() override;
    void onWBRoomException(const tq::TQWBException& exception) override;
    void onWBCaptureEnd(const std::shared_ptr<tq::UIImage>& image) override;
    void onWBRecordStart() override;
    void onWBRecordEnd(const tq::OptionalText& url) override;
    void onWBPermissionChange(tq::NSInteger status) override;

    /// The page asks to be closed.
    void closePage();
    /// The page's function of that name has answered; absent: without a value.
    void result(const std::string& call, tq::OptionalValue value);
    /// The page has said whether it has the function.
    void exists(const std::string& function, bool exists);

private:
    void tell(std::string_view event, boost::json::object fields, std::function<void(Session&)> task);

    std::shared_ptr<JsonLines> m_lines;
    std::weak_ptr<Session> m_session;
};

} // namespace tqclient
