#pragma once

#include "ServiceAnswer.h"
#include "TQWhiteBoardLib/TQWBNaviDataInfo.h"
#include "TQWhiteBoardLib/TQWBRecordConfig.h"
#include "TQWhiteBoardLib/TQWBRoomConfig.h"
#include "platform/Foundation/NSURLSession.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace tq {

/// What differs between the requests to the conference service.
struct RequestKind {
    /// Begins the log lines.
    const char* name;
    NSUInteger transportCode;
    /// 0: the request opens no page.
    NSUInteger urlMissingCode;
};

extern const RequestKind kJoinRequest;
extern const RequestKind kPlayRequest;
extern const RequestKind kQuitRequest;

/// How long a room is asked for when the record does not say.
inline constexpr std::int32_t kDefaultMinutes = 1440;

// @param service null: the address has the text of an absent host in it.

NSMutableURLRequest joinRequest(const TQWBNaviDataInfo* service, const TQWBRoomConfig& config);
NSMutableURLRequest playRequest(const TQWBNaviDataInfo* service, const TQWBRecordConfig& config);
NSMutableURLRequest quitRequest(const TQWBNaviDataInfo* service, const TQWBRoomConfig& config);
/// Where the requests go, as "https://host".
std::string leaseAddress(const TQWBNaviDataInfo* service, const std::string& path = "");
/// The address of a room's page; empty while it is not known where the service is.
std::string roomPageAddress(const TQWBNaviDataInfo* service, const OptionalText& key);

/// What came of a request.
struct ServiceReply {
    /// Absent: there was an answer.
    std::optional<NSError> transportError;
    /// Of HTTP.
    NSInteger status = 0;
    ServiceAnswer answer;
};

/// Sends the request. @param delegate held until the end; may be null. @param completion runs once, on a queue of the
/// request's own.
void sendToService(std::shared_ptr<NSURLSessionDelegate> delegate, NSMutableURLRequest request,
    std::function<void(const ServiceReply& reply)> completion);

void logFailure(const RequestKind& kind, std::string_view reason);
void logSuccess(const RequestKind& kind);

} // namespace tq
