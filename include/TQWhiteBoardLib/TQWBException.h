#pragma once

#include "platform/Foundation/NSTypes.h"

namespace tq {

/// A failure that the room's page reports. A value; it is never thrown.
struct TQWBException {
    /// The page's own code; 0 when it sent none.
    NSInteger code = 0;
    /// The page's own text; absent when it sent none.
    OptionalText msg;
};

} // namespace tq
