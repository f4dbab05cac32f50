#pragma once

#include "TQWhiteBoardLib/TQWBError.h"
#include "TQWhiteBoardLib/TQWBNaviDataInfo.h"
#include "navigation/NaviAddresses.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tq {

/// How long each navigation server has, in seconds.
inline constexpr double kNavigationTimeout = 10;

/// Who is asked when the token names nobody who answers.
TextList defaultNavigationServers();

void logServiceFound();
void logServiceNotFound(NSUInteger code, const std::string& description);

/// Asks navigation servers one after the other where the conference service is, and keeps what each of them says. Main
/// thread. It ends early, and tells nobody, when its last reference goes.
class ServiceSearch : public std::enable_shared_from_this<ServiceSearch> {
public:
    /// Where the service is; or, when that is null, why it was not found.
    using Done = std::function<void(std::shared_ptr<const TQWBNaviDataInfo> service, TQWBError error)>;

    /// @param done runs once, never within this call.
    static std::shared_ptr<ServiceSearch> begin(OptionalText appKey, OptionalText token, Done done);

private:
    ServiceSearch(OptionalText appKey, OptionalText token, Done done);
    void askNext();
    void fail();

    const OptionalText m_appKey;
    const OptionalText m_token;
    Done m_done;
    std::vector<std::string> m_servers;
    // Parallel to the servers that were asked.
    std::vector<TQWBServerAnswer> m_answers;
    // Whether the first server's certificate was the trouble.
    bool m_isUntrusted = false;
};

} // namespace tq
