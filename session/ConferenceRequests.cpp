#include "TQWhiteBoardLib/TQWBSessionCode.h"
#include "TQWhiteBoardLib/TQWBWebView.h"
#include "TQWhiteBoardLib/TQWhiteBoard.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSJSONSerialization.h"
#include "platform/Foundation/NSLog.h"
#include "platform/Foundation/NSNumberReading.h"
#include "platform/Foundation/NSURLSession.h"
#include "session/ServiceAnswer.h"

namespace tq {

namespace {

constexpr std::int32_t kRandomLength = 10;
constexpr double kRequestTimeout = 10;
constexpr std::int32_t kDefaultMinutes = 1440;

/// What differs between the requests when they fail.
struct RequestKind {
    /// Begins the log lines.
    const char* name;
    NSUInteger transportCode;
    NSUInteger urlMissingCode;
};

constexpr RequestKind kJoin{ "joinWhiteBoard", TQWBSessionCodeRequestFailed, TQWBSessionCodeJoinUrlMissing };
constexpr RequestKind kPlay{ "play video", TQWBSessionCodePlayRequestFailed, TQWBSessionCodePlayUrlMissing };
constexpr RequestKind kQuit{ "QuitWhiteBoard", TQWBSessionCodeRequestFailed, 0 };

void setServiceHeaders(NSMutableURLRequest& request, const OptionalText& appKey, const OptionalText& token)
{
    request.setValue("application/json", "Content-Type");
    request.setValue(appKey, "TQ-AppKey");
    request.setValue(token, "TQ-Token");
    request.timeoutInterval = kRequestTimeout;
}

std::string leaseAddress(const TQWhiteBoard& board, const std::string& path)
{
    const auto data = board.naviData();
    return "https://" + std::string(describe(data ? data->iwbLeaseUri : std::nullopt)) + path;
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

void logFailure(const RequestKind& kind, std::string_view reason)
{
    NSLog(TQWBLogLevel::Error, "[TQ:Log] " + std::string(kind.name) + " error：" + std::string(reason));
}

void logSuccess(const RequestKind& kind) { NSLog("[TQ:Log] " + std::string(kind.name) + " success"); }

using Accepted = std::function<void(TQWhiteBoard& board, const ServiceAnswer& answer)>;

// Sends the request; whatever comes of it runs on a queue of the request's own.
void send(const std::shared_ptr<TQWhiteBoard>& board, NSMutableURLRequest request, const RequestKind& kind,
    const TQWBFailure& error, Accepted accepted)
{
    auto session = NSURLSession::sessionWithConfiguration(
        NSURLSessionConfiguration::defaultSessionConfiguration(), board, NSOperationQueue::create());
    auto task = session->dataTaskWithRequest(std::move(request),
        [board, kind, error, accepted = std::move(accepted)](const OptionalText& data,
            const std::optional<NSHTTPURLResponse>&, const std::optional<NSError>& transportError) {
            if (transportError) {
                logFailure(kind, transportError->localizedDescription);
                if (error)
                    error(kind.transportCode, transportError->localizedDescription);
                return;
            }
            const ServiceAnswer answer(data);
            if (!answer.code) {
                accepted(*board, answer);
                return;
            }
            logFailure(kind, logged(answer.desc));
            if (error)
                error(answer.failureCode(), textValue(answer.desc ? &*answer.desc : nullptr));
        });
    task.resume();
    session->finishTasksAndInvalidate();
}

// Loads the room's page if its address is known.
bool openPage(TQWhiteBoard& board, const ServiceAnswer& answer, const RequestKind& kind, const TQWBFailure& error,
    const std::function<void()>& beforeLoading)
{
    const auto url = board.getRoomUrl(answer.key);
    if (url.empty()) {
        logFailure(kind, "url is nil");
        if (error)
            error(kind.urlMissingCode, "url is nil");
        return false;
    }
    logSuccess(kind);
    beforeLoading();
    // The page of the one server asks the other.
    dispatchToMain([self = board.shared_from_this(), url, lease = leaseAddress(board, "")] {
        if (auto webView = self->webView()) {
            webView->expectServers({ lease });
            webView->loadUrl(url);
        }
    });
    return true;
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

void TQWhiteBoard::joinWhiteBoard(std::shared_ptr<TQWBRoomConfig> config, TQWBSuccess success, TQWBFailure error)
{
    if (!config)
        config = std::make_shared<TQWBRoomConfig>();
    boost::json::object body;
    for (const char* member : { "outTradeNo", "ownerId", "name", "fileName" })
        body[member] = generateMixed(kRandomLength);
    body["minutes"] = config->minutes > 0 ? config->minutes : kDefaultMinutes;
    body["user"] = userObject(config->userName, config->roleType ? "viewer" : "presenter", config->userId);
    auto request = getRequest(leaseAddress(*this, "/api/v1/iwb/join/" + std::string(describe(config->roomId))), body,
        config->appKey, config->token);
    send(shared_from_this(), std::move(request), kJoin, error,
        [config, success = std::move(success), error](TQWhiteBoard& self, const ServiceAnswer& answer) {
            auto enter = [&] { self.setRoomConfig(config); };
            if (openPage(self, answer, kJoin, error, enter) && success)
                success();
        });
}

void TQWhiteBoard::requestRecordUrl(std::shared_ptr<TQWBRecordConfig> config, TQWBSuccess success, TQWBFailure error)
{
    if (!config)
        config = std::make_shared<TQWBRecordConfig>();
    boost::json::object body{ { "outTradeNo", generateMixed(kRandomLength) } };
    addPresent(body, "url", config->url);
    addPresent(body, "playHubId", config->roomId);
    body["user"] = userObject(config->userName, "record", config->userId);
    auto request = getRequest(leaseAddress(*this, "/api/v1/iwb/player"), body, config->appKey, config->token);
    send(shared_from_this(), std::move(request), kPlay, error,
        [success = std::move(success), error](TQWhiteBoard& self, const ServiceAnswer& answer) {
            if (openPage(self, answer, kPlay, error, [] {}) && success)
                success();
        });
}

void TQWhiteBoard::requestQuitUrlWithConfig(
    std::shared_ptr<TQWBRoomConfig> config, TQWBSuccess success, TQWBFailure error)
{
    if (!config)
        config = std::make_shared<TQWBRoomConfig>();
    const auto path = "/api/v1/iwb/hubs/" + std::string(describe(config->roomId)) + "/users/"
        + std::string(describe(config->userId));
    NSMutableURLRequest request{ .URL = NSURL::URLWithString(leaseAddress(*this, path)), .HTTPMethod = "DELETE" };
    setServiceHeaders(request, config->appKey, config->token);
    send(shared_from_this(), std::move(request), kQuit, error,
        [success = std::move(success)](TQWhiteBoard& self, const ServiceAnswer&) {
            logSuccess(kQuit);
            self.setRoomConfig(nullptr);
            if (const auto webView = self.webView()) {
                webView->removeJavascriptObject("TQJSBridge");
                webView->removeJavascriptObject("TQNativeBridge");
            }
            self.dropWebView();
            if (success)
                success();
        });
}

} // namespace tq
