#include "TQWBNaviManager.h"

#include "NaviAddresses.h"
#include "NaviAnswer.h"
#include "platform/Foundation/NSLog.h"

#include <utility>

namespace tq {

namespace {

// A good answer is some hundred bytes, of which two are host names of 253 letters at most. It is read, kept and read
// again on the main thread, and at every operation for two hours.
constexpr std::size_t kMaximumAnswerLength = std::size_t{ 32 } << 10U;

std::string errorDescription(const std::optional<NSError>& error)
{
    if (!error)
        return std::string(kAbsentText);
    return "Error Domain=" + error->domain + " Code=" + std::to_string(error->code) + " \""
        + error->localizedDescription + "\"";
}

NSMutableURLRequest naviRequest(const TQWBNaviManager::Attempt& attempt)
{
    NSMutableURLRequest request{ .URL = attempt.URL,
        .HTTPMethod = "POST",
        .timeoutInterval = attempt.timeout,
        .maximumAnswerLength = kMaximumAnswerLength };
    request.setValue("application/x-www-form-urlencoded", "Content-Type");
    request.setValue(attempt.appKey, "appId");
    request.HTTPBody
        = "token=" + std::string(describe(attempt.token)) + "&v=" + std::string(describe(attempt.version)) + "&p=iOS";
    return request;
}

} // namespace

const std::shared_ptr<TQWBNaviManager>& TQWBNaviManager::sharedInstance()
{
    static const auto& instance = *new std::shared_ptr<TQWBNaviManager>(new TQWBNaviManager);
    return instance;
}

std::optional<TQWBNaviManager::URLList> TQWBNaviManager::getAllNaviURLS(
    const OptionalText& token, const std::optional<std::vector<std::string>>& naviArr)
{
    const auto servers = allNaviServers(token, naviArr);
    if (!servers)
        return std::nullopt;
    URLList urls;
    for (const auto& server : *servers)
        urls.push_back(NSURL::URLWithString(server));
    return urls;
}

std::optional<std::vector<std::string>> TQWBNaviManager::formatNaviServers(
    const std::optional<std::vector<std::string>>& servers)
{
    return tq::formatNaviServers(servers);
}

std::string TQWBNaviManager::formatCorrectNaviServer(std::string_view server)
{
    return tq::formatCorrectNaviServer(server);
}

void TQWBNaviManager::requestNavis(const std::optional<URLList>& navis, const OptionalText& appKey,
    const OptionalText& token, const OptionalText& version, double timeout, NaviSuccess success, NaviFailure failure)
{
    if (!navis || navis->empty()) {
        if (failure)
            failure(TQWBNaviCodeInvalidUrl, "", "invalid navi url");
        return;
    }
    walk(std::make_shared<const URLList>(*navis), 0, { std::nullopt, appKey, token, version, timeout },
        std::move(success), std::move(failure));
}

void TQWBNaviManager::requestNavi(const std::optional<NSURL>& navi, const OptionalText& appKey,
    const OptionalText& token, const OptionalText& version, double timeout, NaviSuccess success, NaviFailure failure)
{
    requestNavis(URLList{ navi }, appKey, token, version, timeout, std::move(success), std::move(failure));
}

void TQWBNaviManager::walk(
    std::shared_ptr<const URLList> navis, std::size_t index, Attempt attempt, NaviSuccess success, NaviFailure failure)
{
    attempt.URL = (*navis)[index];
    ask(attempt, [=, this](const OptionalText& data, NSInteger status, const std::optional<NSError>& error) {
        auto next = [&](NSUInteger code, const OptionalText& body, const std::string& description) {
            if (code != TQWBNaviCodeUnauthorized && index + 1 < navis->size())
                walk(navis, index + 1, attempt, success, failure);
            else if (failure)
                failure(code, body, description);
        };
        completionWithAppKey(attempt.appKey, attempt.token, data, status, error, success, next);
    });
}

void TQWBNaviManager::attempt(const Attempt& attempt, std::function<void(const Attempted&)> done)
{
    ask(attempt,
        [this, attempt, done = std::move(done)](
            const OptionalText& data, NSInteger status, const std::optional<NSError>& error) {
            Attempted attempted{ nullptr, 0, {}, error };
            completionWithAppKey(
                attempt.appKey, attempt.token, data, status, error,
                [&](bool isSaved) {
                    if (isSaved)
                        attempted.service = getNaviData(attempt.appKey, attempt.token);
                    if (attempted.service)
                        return;
                    attempted.code = TQWBNaviCodeAnswerIncomplete;
                    attempted.description = "The answer does not say where the service is.";
                },
                [&](NSUInteger code, const OptionalText&, const std::string& description) {
                    attempted.code = code;
                    attempted.description = description;
                });
            done(attempted);
        });
}

void TQWBNaviManager::ask(const Attempt& attempt, Answered answered)
{
    {
        const std::lock_guard lock(m_mutex);
        m_lastAttempt = attempt;
    }
    auto session = NSURLSession::sessionWithConfiguration(
        NSURLSessionConfiguration::defaultSessionConfiguration(), sharedInstance(), NSOperationQueue::mainQueue());
    auto task = session->dataTaskWithRequest(naviRequest(attempt),
        [answered = std::move(answered)](const OptionalText& data, const std::optional<NSHTTPURLResponse>& response,
            const std::optional<NSError>& error) {
            const NSInteger status = response ? response->statusCode : 0;
            if (status != 200)
                NSLog(TQWBLogLevel::Warning,
                    "[TQ:Log] response:" + (response ? response->description() : std::string(kAbsentText))
                        + ", error:" + errorDescription(error));
            answered(error ? std::nullopt : data, status, error);
        });
    task.resume();
    session->finishTasksAndInvalidate();
}

void TQWBNaviManager::completionWithAppKey(const OptionalText& appKey, const OptionalText& token,
    const OptionalText& data, NSInteger responseCode, const std::optional<NSError>& httpError,
    const NaviSuccess& success, const NaviFailure& failure)
{
    auto answer = NaviAnswer::read(data, responseCode, httpError);
    if (answer.good) {
        const bool isSaved = saveNavi(std::move(answer.good), appKey, token);
        if (success)
            success(isSaved);
    } else if (failure) {
        failure(answer.code, answer.body, answer.description);
    }
}

TQWBNaviManager::Attempt TQWBNaviManager::lastAttempt() const
{
    const std::lock_guard lock(m_mutex);
    return m_lastAttempt;
}

} // namespace tq
