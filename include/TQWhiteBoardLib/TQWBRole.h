#pragma once

#include "platform/Foundation/NSTypes.h"

namespace tq {

/// What a user asks to be in a room, for `TQWBRoomConfig::roleType`. (There every value but 0 is a viewer.)
enum TQWBRole : NSUInteger {
    /// Draws, records, and gives others their permissions.
    TQWBRolePresenter = 0,
    /// Looks on.
    TQWBRoleViewer = 1,
};

} // namespace tq
