#pragma once

#include "platform/Foundation/NSTypes.h"

#include <cstdint>
#include <optional>

namespace tq {

/// What the page answers to a call of one of its functions.
struct PageAnswer {
    /// @returns absent for what names no call.
    static std::optional<PageAnswer> read(OptionalValue argument);

    /// The call, as `DSCallInfo` names it.
    std::int32_t id = 0;
    /// Absent for null, too.
    OptionalValue data;
    /// The page's own words where its function has failed.
    OptionalText failure;
    /// Whether the page has no more to say to this call.
    bool isLast = false;
};

} // namespace tq
