#pragma once

#include "platform/Foundation/NSObject.h"
#include "platform/Foundation/NSTypes.h"

#include <cstdint>

namespace tq {

/// Where the conference service is, as a navigation server told.
class TQWB_EXPORT TQWBNaviDataInfo final : public NSObject {
public:
    /// The server's own code; 0 when it sent none.
    std::int32_t code = 0;
    /// Host of the lease service, without a scheme; absent when the answer held no text.
    OptionalText iwbLeaseUri;
    /// Host of the conference's pages, without a scheme; absent when the answer held no text.
    OptionalText iwbConferenceUri;
};

} // namespace tq
