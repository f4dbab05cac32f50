#include "TQWhiteBoardLib/TQWBWebView.h"
#include "TQWhiteBoardLib/TQWhiteBoard.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSLog.h"
#include "platform/Foundation/NSURLSession.h"
#include "session/ServiceRequests.h"

namespace tq {

namespace {

using Accepted = std::function<void(TQWhiteBoard& board, const ServiceAnswer& answer)>;

// Whatever comes of the request runs on a queue of its own.
void send(const std::shared_ptr<TQWhiteBoard>& board, NSMutableURLRequest request, const RequestKind& kind,
    const TQWBFailure& error, Accepted accepted)
{
    sendToService(
        board, std::move(request), [board, &kind, error, accepted = std::move(accepted)](const ServiceReply& reply) {
            const auto& answer = reply.answer;
            if (reply.transportError) {
                logFailure(kind, reply.transportError->localizedDescription);
                if (error)
                    error(kind.transportCode, reply.transportError->localizedDescription);
            } else if (!answer.code) {
                accepted(*board, answer);
            } else {
                logFailure(kind, logged(answer.desc));
                if (error)
                    error(answer.failureCode(), answer.failureText());
            }
        });
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
    dispatchToMain([self = board.shared_from_this(), url, lease = leaseAddress(board.naviData().get())] {
        if (auto webView = self->webView()) {
            webView->expectServers({ lease });
            webView->loadUrl(url);
        }
    });
    return true;
}

} // namespace

void TQWhiteBoard::joinWhiteBoard(std::shared_ptr<TQWBRoomConfig> config, TQWBSuccess success, TQWBFailure error)
{
    if (!config)
        config = std::make_shared<TQWBRoomConfig>();
    send(shared_from_this(), joinRequest(naviData().get(), *config), kJoinRequest, error,
        [config, success = std::move(success), error](TQWhiteBoard& self, const ServiceAnswer& answer) {
            auto enter = [&] { self.setRoomConfig(config); };
            if (openPage(self, answer, kJoinRequest, error, enter) && success)
                success();
        });
}

void TQWhiteBoard::requestRecordUrl(std::shared_ptr<TQWBRecordConfig> config, TQWBSuccess success, TQWBFailure error)
{
    if (!config)
        config = std::make_shared<TQWBRecordConfig>();
    send(shared_from_this(), playRequest(naviData().get(), *config), kPlayRequest, error,
        [success = std::move(success), error](TQWhiteBoard& self, const ServiceAnswer& answer) {
            if (openPage(self, answer, kPlayRequest, error, [] {}) && success)
                success();
        });
}

void TQWhiteBoard::requestQuitUrlWithConfig(
    std::shared_ptr<TQWBRoomConfig> config, TQWBSuccess success, TQWBFailure error)
{
    if (!config)
        config = std::make_shared<TQWBRoomConfig>();
    send(shared_from_this(), quitRequest(naviData().get(), *config), kQuitRequest, error,
        [success = std::move(success)](TQWhiteBoard& self, const ServiceAnswer&) {
            logSuccess(kQuitRequest);
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
