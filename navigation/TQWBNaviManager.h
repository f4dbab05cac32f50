#pragma once

#include "TQWhiteBoardLib/TQWBNaviCode.h"
#include "TQWhiteBoardLib/TQWBNaviDataInfo.h"
#include "platform/Foundation/NSError.h"
#include "platform/Foundation/NSObject.h"
#include "platform/Foundation/NSTypes.h"
#include "platform/Foundation/NSURL.h"
#include "platform/Foundation/NSURLSession.h"

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tq {

/// Told that an answer came, and whether it was stored.
using NaviSuccess = std::function<void(bool isSaved)>;
/// Told what went wrong: a code, the answer's body as text (absent when there is none), and a sentence for the log.
using NaviFailure = std::function<void(NSUInteger code, const OptionalText& body, const std::string& description)>;

/// Finds the conference service through navigation servers, and remembers the last good answer of every pair of
/// application key and token.
///
/// Any thread. Callbacks run on the main thread, but for the failure of an empty list of addresses, which is told at
/// once to the caller. Overlapping requests run side by side.
class TQWBNaviManager final : public NSObject, public NSURLSessionTaskDelegate {
public:
    /// A list of addresses; an entry is absent where the text was no valid address.
    using URLList = std::vector<std::optional<NSURL>>;

    /// The one manager of the process.
    static const std::shared_ptr<TQWBNaviManager>& sharedInstance();

    /// The addresses to ask: those that the token carries after its last "@", then the defaults.
    /// @returns absent when there are no defaults.
    static std::optional<URLList> getAllNaviURLS(
        const OptionalText& token, const std::optional<std::vector<std::string>>& naviArr);

    /// Every address that is not empty, made whole; absent for an absent or empty list.
    static std::optional<std::vector<std::string>> formatNaviServers(
        const std::optional<std::vector<std::string>>& servers);
    /// The address with "https://" before it unless it begins with "http", and with "config.json" at its end.
    static std::string formatCorrectNaviServer(std::string_view server);

    /// Asks the addresses one after the other until one gives a good answer, and stores that.
    /// @param timeout of each attempt, in seconds.
    void requestNavis(const std::optional<URLList>& navis, const OptionalText& appKey, const OptionalText& token,
        const OptionalText& version, double timeout, NaviSuccess success, NaviFailure failure);
    /// Asks one address.
    void requestNavi(const std::optional<NSURL>& navi, const OptionalText& appKey, const OptionalText& token,
        const OptionalText& version, double timeout, NaviSuccess success, NaviFailure failure);
    /// What one address is asked with.
    struct Attempt {
        /// Absent where the text was no valid address.
        std::optional<NSURL> URL;
        OptionalText appKey;
        OptionalText token;
        OptionalText version;
        /// In seconds.
        double timeout = 0;
    };
    /// What came of asking one address.
    struct Attempted {
        /// What is stored for the pair now; absent after a failure, and when what came could not be stored.
        std::shared_ptr<TQWBNaviDataInfo> service;
        /// Of a failure.
        NSUInteger code = 0;
        /// Of a failure.
        std::string description;
        /// Why there was no answer; absent: there was one.
        std::optional<NSError> error;
    };
    /// Asks one address, for those who want to know all. @param done runs once, on the main thread.
    void attempt(const Attempt& attempt, std::function<void(const Attempted&)> done);
    /// Interprets an answer.
    void completionWithAppKey(const OptionalText& appKey, const OptionalText& token, const OptionalText& data,
        NSInteger responseCode, const std::optional<NSError>& httpError, const NaviSuccess& success,
        const NaviFailure& failure);

    /// Whether nothing is stored for the pair, or what is stored has become too old (more than two hours).
    bool needRequestNavi(const OptionalText& appKey, const OptionalText& token) const;
    /// What is stored for the pair, however old; absent when nothing is.
    std::shared_ptr<TQWBNaviDataInfo> getNaviData(const OptionalText& appKey, const OptionalText& token) const;
    /// Both at once, with one look at the store: what is stored for the pair; absent when a request is needed.
    std::shared_ptr<TQWBNaviDataInfo> freshNaviData(const OptionalText& appKey, const OptionalText& token) const;
    /// Stores an answer for the pair, in the place of an older one.
    /// @returns false, with nothing changed, for an absent answer, one whose addresses are null, and one that is nested
    /// too deeply to be stored.
    bool saveNavi(std::optional<boost::json::object> answer, const OptionalText& appKey, const OptionalText& token);
    /// Forgets what is stored for the pair.
    void forgetNavi(const OptionalText& appKey, const OptionalText& token);

    // What the attempt that was started last asks for; for information only.
    std::optional<NSURL> URL() const { return lastAttempt().URL; }
    OptionalText appKey() const { return lastAttempt().appKey; }
    OptionalText token() const { return lastAttempt().token; }
    OptionalText version() const { return lastAttempt().version; }
    /// In seconds.
    double timeout() const { return lastAttempt().timeout; }

    // Members that the class has always had; nothing sets them.
    std::shared_ptr<TQWBNaviDataInfo> naviData;
    std::string responseData;
    NSInteger responseCode = 0;
    std::int32_t error = 0;
    std::shared_ptr<NSError> httpError;
    std::function<void()> completionBlock;

private:
    using Answered
        = std::function<void(const OptionalText& data, NSInteger status, const std::optional<NSError>& error)>;

    TQWBNaviManager() = default;
    void ask(const Attempt& attempt, Answered answered);
    Attempt lastAttempt() const;
    void walk(std::shared_ptr<const URLList> navis, std::size_t index, Attempt attempt, NaviSuccess success,
        NaviFailure failure);

    mutable std::mutex m_mutex;
    Attempt m_lastAttempt;
};

} // namespace tq
