#include "TQWhiteBoardLib/TQWBPermissionProtocol.h"
#include "TQWhiteBoardLib/TQWBRecordProtocol.h"
#include "TQWhiteBoardLib/TQWBRoomStatusProtocol.h"

namespace tq {

// The methods that a delegate may lack: nobody calls these.

void TQWBRoomStatusProtocol::onWBRoomQuit() { }
void TQWBRoomStatusProtocol::onWBRoomException(const TQWBException&) { }
void TQWBRoomStatusProtocol::onWBCaptureEnd(const std::shared_ptr<UIImage>&) { }
void TQWBRecordProtocol::onWBRecordStart() { }
void TQWBRecordProtocol::onWBRecordEnd(const OptionalText&) { }
void TQWBPermissionProtocol::onWBPermissionChange(NSInteger) { }

} // namespace tq
