#pragma once

#include "platform/Foundation/NSTypes.h"

#include <cstdint>

namespace tq {

/// What it takes to join a live room. Made empty and filled field by field.
struct TQWBRoomConfig {
    /// The application's key at the conference service.
    OptionalText appKey{};
    /// The user's token. What follows its last "@", if anything, is a list of navigation addresses separated by ";".
    OptionalText token{};
    /// The room at the service; whoever gives the same one meets there.
    OptionalText roomId{};
    /// Names the user at the service.
    OptionalText userId{};
    /// The name that the others in the room see.
    OptionalText userName{};
    /// 0 (`TQWBRolePresenter`) is a presenter, every other value a viewer.
    NSUInteger roleType = 0;
    /// How long the room is wanted, in minutes, from 0 to 10000. 0 means that nothing was asked for: the join makes it
    /// 1440.
    std::int32_t minutes = 0;
};

} // namespace tq
