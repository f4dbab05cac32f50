#include "TQWhiteBoardLib/TQWBWebView.h"
#include "TQWhiteBoardLib/TQWhiteBoard.h"
#include "platform/Foundation/Dispatch.h"
#include "platform/Foundation/NSLog.h"
#include "platform/Foundation/NSURLSession.h"
#include "session/ServiceRequests.h"

namespace tq {

namespace {

// The line in the log comes first and the callback after it.
void fail(const RequestKind& kind, const TQWBFailure& error, NSUInteger code, std::string_view reason,
    const OptionalText& text)
{
    logFailure(kind, reason);
    if (error)
        error(code, text);
}

// Whatever comes of the request runs on a queue of its own. @param accepted is given the address of the room's page.
void send(const std::shared_ptr<TQWhiteBoard>& board, NSMutableURLRequest request, const RequestKind& kind,
    TQWBSuccess success, TQWBFailure error, std::function<void(TQWhiteBoard& board, const std::string& page)> accepted)
{
    sendToService(board, std::move(request),
        [board, &kind, success = std::move(success), error = std::move(error), accepted = std::move(accepted)](
            const ServiceReply& reply) {
            if (const auto& failed = reply.transportError) {
                fail(kind, error, kind.transportCode, failed->localizedDescription, failed->localizedDescription);
                return;
            }
            const auto& answer = reply.answer;
            if (answer.code) {
                fail(kind, error, answer.failureCode(), logged(answer.desc), answer.failureText());
                return;
            }
            const auto page = board->getRoomUrl(answer.key);
            if (kind.urlMissingCode && page.empty()) {
                fail(kind, error, kind.urlMissingCode, "url is nil", "url is nil");
                return;
            }
            logSuccess(kind);
            accepted(*board, page);
            if (success)
                success();
        });
}

void openPage(TQWhiteBoard& board, const std::string& page)
{
    // The page of the one server asks the other.
    dispatchToMain([self = board.shared_from_this(), page, lease = leaseAddress(board.naviData().get())] {
        if (auto webView = self->webView()) {
            webView->expectServers({ lease });
            webView->loadUrl(page);
        }
    });
}

} // namespace

void TQWhiteBoard::joinWhiteBoard(std::shared_ptr<TQWBRoomConfig> config, TQWBSuccess success, TQWBFailure error)
{
    if (!config)
        config = std::make_shared<TQWBRoomConfig>();
    send(shared_from_this(), joinRequest(naviData().get(), *config), kJoinRequest, std::move(success), std::move(error),
        [config](TQWhiteBoard& self, const std::string& page) {
            self.setRoomConfig(config);
            openPage(self, page);
        });
}

void TQWhiteBoard::requestRecordUrl(std::shared_ptr<TQWBRecordConfig> config, TQWBSuccess success, TQWBFailure error)
{
    if (!config)
        config = std::make_shared<TQWBRecordConfig>();
    send(shared_from_this(), playRequest(naviData().get(), *config), kPlayRequest, std::move(success), std::move(error),
        openPage);
}

void TQWhiteBoard::requestQuitUrlWithConfig(
    std::shared_ptr<TQWBRoomConfig> config, TQWBSuccess success, TQWBFailure error)
{
    if (!config)
        config = std::make_shared<TQWBRoomConfig>();
    send(shared_from_this(), quitRequest(naviData().get(), *config), kQuitRequest, std::move(success), std::move(error),
        [](TQWhiteBoard& self, const std::string&) {
            self.setRoomConfig(nullptr);
            if (const auto webView = self.webView()) {
                webView->removeJavascriptObject("TQJSBridge");
                webView->removeJavascriptObject("TQNativeBridge");
            }
            self.dropWebView();
        });
}

} // namespace tq
