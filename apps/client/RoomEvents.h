#pragma once

#include "TQWhiteBoardLib/TQWBPermissionProtocol.h"
#include "TQWhiteBoardLib/TQWBRecordProtocol.h"
#include "TQWhiteBoardLib/TQWBRoomStatusProtocol.h"

#include <functional>
#include <memory>

namespace tqclient {

class JsonLines;
class Session;

/// The delegate of one view: prints what the room's page reports, and tells the session once the page has its answer.
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

private:
    void tellSession(std::function<void(Session&)> task);

    std::shared_ptr<JsonLines> m_lines;
    std::weak_ptr<Session> m_session;
};

} // namespace tqclient
