#include "ServiceRequests.h"

#include "TQWhiteBoardLib/TQWBSessionCode.h"
#include "TQWhiteBoardLib/TQWhiteBoard.h"
#include "platform/Foundation/NSJSONSerialization.h"
#include "platform/Foundation/NSLog.h"

#include <utility>

namespace tq {

const RequestKind kJoinRequest{ "joinWhiteBoard", TQWBSessionCodeRequestFailed, TQWBSessionCodeJoinUrlMissing };
const RequestKind kPlayRequest{ "play video", TQWBSessionCodePlayRequestFailed, TQWBSessionCodePlayUrlMissing };
const RequestKind kQuitRequest{ "QuitWhiteBoard", TQWBSessionCodeRequestFailed, 0 };

namespace {

constexpr std::int32_t kRandomLength = 10;
constexpr double kRequestTimeout = 10;

void setServiceHeaders(NSMutableURLRequest& request, const OptionalText& appKey, const OptionalText& token)
{
    request.setValue("application/json", "Content-Type");
    request.setValue(appKey, "TQ-AppKey");
    request.setValue(token, "TQ-Token");
    request.timeoutInterval = kRequestTimeout;
}

boost::json::object userObject(const OptionalText& name, const char* role, const OptionalText& uid)
{
    return { { "name", name.value_or("") }, { "role", role }, { "uid", uid.value_or("") } };
}

void addPresent(boost::json::object& body, const char* member, const OptionalText& value)
{
    if (value)
        body[member] = *value;
}

} // namespace

NSMutableURLRequest TQWhiteBoard::getRequest(
    const std::string& url, const boost::json::object& body, const OptionalText& appKey, const OptionalText& token)
{
    NSMutableURLRequest request{ .URL = NSURL::URLWithString(url),
        .HTTPMethod = "POST",
        .HTTPBody = NSJSONSerialization::prettyDataWithJSONObject(body) };
    setServiceHeaders(request, appKey, token);
    return request;
}

std::string leaseAddress(const TQWBNaviDataInfo* service, const std::string& path)
{
    return "https://" + std::string(describe(service ? service->iwbLeaseUri : std::nullopt)) + path;
}

std::string roomPageAddress(const TQWBNaviDataInfo* service, const OptionalText& key)
{
    if (!service || service->iwbConferenceUri.value_or("").empty() || service->iwbLeaseUri.value_or("").empty())
        return {};
    return "https://" + *service->iwbConferenceUri + "/conference/index.html?key=" + std::string(describe(key))
        + "&iwbLeaseUri=" + *service->iwbLeaseUri;
}

NSMutableURLRequest joinRequest(const TQWBNaviDataInfo* service, const TQWBRoomConfig& config)
{
    boost::json::object body;
    for (const char* member : { "outTradeNo", "ownerId", "name", "fileName" })
        body[member] = TQWhiteBoard::generateMixed(kRandomLength);
    body["minutes"] = config.minutes > 0 ? config.minutes : kDefaultMinutes;
    body["user"] = userObject(config.userName, config.roleType ? "viewer" : "presenter", config.userId);
    return TQWhiteBoard::getRequest(leaseAddress(service, "/api/v1/iwb/join/" + std::string(describe(config.roomId))),
        body, config.appKey, config.token);
}

NSMutableURLRequest playRequest(const TQWBNaviDataInfo* service, const TQWBRecordConfig& config)
{
    boost::json::object body{ { "outTradeNo", TQWhiteBoard::generateMixed(kRandomLength) } };
    addPresent(body, "url", config.url);
    addPresent(body, "playHubId", config.roomId);
    body["user"] = userObject(config.userName, "record", config.userId);
    return TQWhiteBoard::getRequest(leaseAddress(service, "/api/v1/iwb/player"), body, config.appKey, config.token);
}

NSMutableURLRequest quitRequest(const TQWBNaviDataInfo* service, const TQWBRoomConfig& config)
{
    const auto path
        = "/api/v1/iwb/hubs/" + std::string(describe(config.roomId)) + "/users/" + std::string(describe(config.userId));
    NSMutableURLRequest request{ .URL = NSURL::URLWithString(leaseAddress(service, path)), .HTTPMethod = "DELETE" };
    setServiceHeaders(request, config.appKey, config.token);
    return request;
}

void sendToService(std::shared_ptr<NSURLSessionDelegate> delegate, NSMutableURLRequest request,
    std::function<void(const ServiceReply& reply)> completion)
{
    auto session = NSURLSession::sessionWithConfiguration(
        NSURLSessionConfiguration::defaultSessionConfiguration(), std::move(delegate), NSOperationQueue::create());
    auto task = session->dataTaskWithRequest(std::move(request),
        [completion = std::move(completion)](const OptionalText& data, const std::optional<NSHTTPURLResponse>& response,
            const std::optional<NSError>& transportError) {
            completion({ transportError, response ? response->statusCode : 0,
                ServiceAnswer(transportError ? std::nullopt : data) });
        });
    task.resume();
    session->finishTasksAndInvalidate();
}

void logFailure(const RequestKind& kind, std::string_view reason)
{
    NSLog(TQWBLogLevel::Error, "[TQ:Log] " + std::string(kind.name) + " error：" + std::string(reason));
}

void logSuccess(const RequestKind& kind) { NSLog("[TQ:Log] " + std::string(kind.name) + " success"); }

} // namespace tq
