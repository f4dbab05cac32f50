#pragma once

#include "../Foundation/NSError.h"
#include "../Foundation/NSTypes.h"
#include "../Foundation/NSURLRequest.h"

#include <optional>

namespace tq {

/// What became of a transfer.
struct TransferOutcome {
    /// Absent after an error.
    OptionalText data{};
    /// Absent when no answer began.
    std::optional<NSHTTPURLResponse> response{};
    std::optional<NSError> error{};
    /// The process is ending: nobody is to be told.
    bool isAbandoned = false;
};

/// Sends the request and waits for the end of the answer, no longer than the request's time-out. Any thread.
/// @param extraTrustAnchors certificates trusted beside the system's own.
TransferOutcome performTransfer(const NSMutableURLRequest& request, const OptionalText& extraTrustAnchors);

} // namespace tq
