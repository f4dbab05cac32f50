#include "TQWhiteBoardLib/TQWhiteBoard.h"

#include "TQWhiteBoardLib/TQWBSessionCode.h"
#include "TQWhiteBoardLib/TQWBWebView.h"
#include "navigation/TQWBNaviManager.h"
#include "platform/Foundation/NSLog.h"
#include "platform/Foundation/Random.h"
#include "session/ServiceRequests.h"
#include "session/ServiceSearch.h"

namespace tq {

namespace {

// The callback comes first and its line in the log after it.
void refuse(const TQWBFailure& error, NSUInteger code, const char* text)
{
    if (error)
        error(code, text);
    NSLog(TQWBLogLevel::Error, std::string("[TQ:Log] ") + text);
}

} // namespace

TQWhiteBoard::TQWhiteBoard(std::shared_ptr<TQWBWebView> webView)
    : m_webView(std::move(webView))
{
}

std::shared_ptr<TQWhiteBoard> TQWhiteBoard::initWithWebView(std::shared_ptr<TQWBWebView> webView)
{
    return std::shared_ptr<TQWhiteBoard>(new TQWhiteBoard(std::move(webView)));
}

void TQWhiteBoard::joinWithConfig(std::shared_ptr<TQWBRoomConfig> config, TQWBSuccess success, TQWBFailure error)
{
    if (!webView())
        return refuse(error, TQWBSessionCodeNotInitialized, "SDK not init");
    if (config && !config->minutes)
        config->minutes = kDefaultMinutes;
    if (!invaliedRoomConfig(config.get()))
        return refuse(error, TQWBSessionCodeInvalidConfig, "config is invalid");
    withNavigation(
        config->appKey, config->token, error, [config, success = std::move(success), error](TQWhiteBoard& self) {
            self.joinWhiteBoard(config, success, error);
        });
}

void TQWhiteBoard::playWithConfig(std::shared_ptr<TQWBRecordConfig> config, TQWBSuccess success, TQWBFailure error)
{
    if (!webView())
        return refuse(error, TQWBSessionCodeNotInitialized, "SDK not init");
    if (!invaliedRecordConfig(config.get()))
        return refuse(error, TQWBSessionCodeInvalidConfig, "config is invalid");
    withNavigation(
        config->appKey, config->token, error, [config, success = std::move(success), error](TQWhiteBoard& self) {
            self.requestRecordUrl(config, success, error);
        });
}

void TQWhiteBoard::quitWhiteBoard(TQWBSuccess success, TQWBFailure error)
{
    if (!webView())
        return refuse(error, TQWBSessionCodeNotInitialized, "SDK not init");
    const auto config = roomConfig();
    if (!config)
        return refuse(error, TQWBSessionCodeNotInRoom, "not in WhiteBoard");
    if (!config->appKey || !config->token || !config->roomId || !config->userId)
        return refuse(error, TQWBSessionCodeNotInRoom, "config is invalid");
    withNavigation(config->appKey, config->token, error, [success = std::move(success), error](TQWhiteBoard& self) {
        self.requestQuitUrlWithConfig(self.roomConfig(), success, error);
    });
}

// Goes on at once with what is remembered, or later on the main thread with what a navigation server has answered.
void TQWhiteBoard::withNavigation(
    const OptionalText& appKey, const OptionalText& token, TQWBFailure error, std::function<void(TQWhiteBoard&)> next)
{
    if (auto data = TQWBNaviManager::sharedInstance()->freshNaviData(appKey, token)) {
        setNaviData(std::move(data));
        next(*this);
        return;
    }
    auto proceed = [self = shared_from_this(), next = std::move(next)] { next(*self); };
    requestNavi(appKey, token, std::move(proceed), std::move(error));
}

void TQWhiteBoard::requestNavi(
    const OptionalText& appKey, const OptionalText& token, TQWBSuccess success, TQWBFailure error)
{
    const auto urls = TQWBNaviManager::getAllNaviURLS(token, defaultNavigationServers());
    TQWBNaviManager::sharedInstance()->requestNavis(
        urls, appKey, token, getVersion(), kNavigationTimeout,
        [self = shared_from_this(), appKey, token, success = std::move(success)](bool) {
            self->setNaviData(TQWBNaviManager::sharedInstance()->getNaviData(appKey, token));
            logServiceFound();
            if (success)
                success();
        },
        [error = std::move(error)](NSUInteger code, const OptionalText&, const std::string& description) {
            logServiceNotFound(code, description);
            if (error)
                error(code, description);
        });
}

void TQWhiteBoard::setNaviData(std::shared_ptr<const TQWBNaviDataInfo> data)
{
    const std::lock_guard lock(m_mutex);
    m_naviData.swap(data);
}

std::string TQWhiteBoard::getVersion() { return "1.0.0"; }

void TQWhiteBoard::forgetNavigation(const OptionalText& appKey, const OptionalText& token)
{
    TQWBNaviManager::sharedInstance()->forgetNavi(appKey, token);
}

std::shared_ptr<TQWBWebView> TQWhiteBoard::webView() const
{
    const std::lock_guard lock(m_mutex);
    return m_webView;
}

std::shared_ptr<const TQWBNaviDataInfo> TQWhiteBoard::naviData() const
{
    const std::lock_guard lock(m_mutex);
    return m_naviData;
}

std::shared_ptr<TQWBRoomConfig> TQWhiteBoard::roomConfig() const
{
    const std::lock_guard lock(m_mutex);
    return m_roomConfig;
}

// What is let go of is destroyed after the lock has been released.
void TQWhiteBoard::setRoomConfig(std::shared_ptr<TQWBRoomConfig> config)
{
    const std::lock_guard lock(m_mutex);
    m_roomConfig.swap(config);
}

void TQWhiteBoard::dropWebView()
{
    std::shared_ptr<TQWBWebView> dropped;
    const std::lock_guard lock(m_mutex);
    m_webView.swap(dropped);
}

std::string TQWhiteBoard::getRoomUrl(const OptionalText& key) const { return roomPageAddress(naviData().get(), key); }

std::string TQWhiteBoard::generateMixed(std::int32_t length)
{
    constexpr std::string_view kAlphabet = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
    std::string text;
    for (std::int32_t index = 0; index < length; ++index)
        text += kAlphabet[arc4random() % kAlphabet.size()];
    return text;
}

} // namespace tq
