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
    /// Absent after an error, also when an answer had begun.
    std::optional<NSHTTPURLResponse> response{};
    std::optional<NSError> error{};
};

/// Sets up what transfers stand on, once; before the first of them, on the thread that asks for it. That takes itself
/// down when the process ends: were it set up in the background, it would be while `exit` is at that already.
void startTransfers();

/// Sends the request and waits for the end of the answer, no longer than the request's time-out. On any
/// thread, within `BackgroundWork`: does not return when the process is ending.
/// @param extraTrustAnchors certificates trusted beside the system's own.
TransferOutcome performTransfer(const NSMutableURLRequest& request, const OptionalText& extraTrustAnchors);

} // namespace tq
