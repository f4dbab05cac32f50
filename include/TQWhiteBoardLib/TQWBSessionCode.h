#pragma once

#include "platform/Foundation/NSTypes.h"

namespace tq {

/// Codes of the failures that `TQWhiteBoard` itself finds; the finding of the service has those of `TQWBNaviCode`, and
/// every other code is the conference service's own.
enum TQWBSessionCode : NSUInteger {
    /// There is no web view: none was given, or the room was quit.
    TQWBSessionCodeNotInitialized = 300001,
    /// Join, replay: a field of the record is missing, or its minutes are out of range.
    TQWBSessionCodeInvalidConfig = 300002,
    /// Join, quit: the service could not be reached, or its answer broke off.
    TQWBSessionCodeRequestFailed = 300005,
    /// Join: it is not known where the room's page is.
    TQWBSessionCodeJoinUrlMissing = 300006,
    /// Replay: the service could not be reached, or its answer broke off.
    TQWBSessionCodePlayRequestFailed = 300007,
    /// Replay: it is not known where the room's page is.
    TQWBSessionCodePlayUrlMissing = 300008,
    /// Quit: no room was joined, or a field of the joined record is missing.
    TQWBSessionCodeNotInRoom = 300010,
};

} // namespace tq
