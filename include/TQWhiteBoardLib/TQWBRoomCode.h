#pragma once

#include "platform/Foundation/NSTypes.h"

namespace tq {

/// Codes of the failures that only a `TQWBRoom` finds.
enum TQWBRoomCode : NSUInteger {
    /// The room was entered before; each is entered once.
    TQWBRoomCodeUsed = 300101,
    /// There is no display to show a room on.
    TQWBRoomCodeNoDisplay = 300102,
    /// The room was not shown within its time limit.
    TQWBRoomCodeTimedOut = 300103,
    /// What came in the place of the service's answer is none.
    TQWBRoomCodeAnswerUnreadable = 300104,
    /// The room's page could not be loaded.
    TQWBRoomCodePageUnreachable = 300105,
    /// The room's page was asked for several times and did not begin to arrive.
    TQWBRoomCodePageSilent = 300106,
    /// The process of the room's page has ended, again and again.
    TQWBRoomCodePageLost = 300107,
    /// The certificate of the page's server is not trusted.
    TQWBRoomCodePageUntrusted = 300108,
    /// The application has left the room, or let go of it, before it was shown.
    TQWBRoomCodeCancelled = 300109,
};

} // namespace tq
