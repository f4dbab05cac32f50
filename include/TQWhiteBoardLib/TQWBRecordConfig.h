#pragma once

#include "platform/Foundation/NSTypes.h"

namespace tq {

/// What it takes to replay a recorded room. Made empty and filled field by field.
struct TQWBRecordConfig {
    /// The application's key at the conference service.
    OptionalText appKey{};
    /// The user's token. What follows its last "@", if anything, is a list of navigation addresses separated by ";".
    OptionalText token{};
    /// The room that was recorded.
    OptionalText roomId{};
    /// Names the user at the service.
    OptionalText userId{};
    /// The name that people see.
    OptionalText userName{};
    /// The recording's address.
    OptionalText url{};
};

} // namespace tq
