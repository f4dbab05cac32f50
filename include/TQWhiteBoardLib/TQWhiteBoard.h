#pragma once

#include "TQWBNaviDataInfo.h"
#include "TQWBRecordConfig.h"
#include "TQWBRoomConfig.h"
#include "platform/Foundation/Export.h"
#include "platform/Foundation/NSObject.h"
#include "platform/Foundation/NSTypes.h"
#include "platform/Foundation/NSURLRequest.h"
#include "platform/Foundation/NSURLSessionConfiguration.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace tq {

class TQWBWebView;

/// Whether the record can be used to join; what `TQWhiteBoard::invaliedRoomConfig` says of it. Any thread.
TQWB_EXPORT bool isUsable(const TQWBRoomConfig& config);
/// Whether the record can be used to replay; what `TQWhiteBoard::invaliedRecordConfig` says of it. Any thread.
TQWB_EXPORT bool isUsable(const TQWBRecordConfig& config);

/// Called once when an operation has succeeded. Empty: nobody wants to know.
using TQWBSuccess = std::function<void()>;
/// Called once when an operation has failed, with a code (`TQWBSessionCode`, `TQWBNaviCode` or the service's own) and a
/// text (absent when the service sent none). Empty: nobody wants to know.
using TQWBFailure = std::function<void(NSUInteger code, const OptionalText& text)>;

/// A session with a whiteboard room: joins a live one, replays a recorded one, leaves the one that was joined.
///
/// Operations may be started from any thread. A record that cannot be used is reported before the operation returns, on
/// the caller's thread; navigation failures on the main thread; everything else on a thread of the request's own. The
/// object lives until its last request has ended. One operation at a time: overlapping ones are not refused, the last
/// one wins.
///
/// | code | text | from |
/// |---|---|---|
/// | 300001 | "SDK not init" | no web view: none was given, or the room was quit |
/// | 300002 | "config is invalid" | join, replay: a field is missing, or the minutes are out of range |
/// | 300003 | the status, or what went wrong | no navigation server gave an answer |
/// | 300004 | what was received | a navigation answer without both addresses |
/// | 100010 | what was received | a navigation server refused the token |
/// | 300005 | what went wrong | join, quit: the service could not be reached |
/// | 300006 | "url is nil" | join: no page address |
/// | 300007 | what went wrong | replay: the service could not be reached |
/// | 300008 | "url is nil" | replay: no page address |
/// | 300010 | "not in WhiteBoard" | quit: no room was joined |
/// | 300010 | "config is invalid" | quit: a field of the joined record is missing |
/// | other | the service's text | the service refused; a negative code has its sign carried into the word |
class TQWB_EXPORT TQWhiteBoard final : public NSObject,
                                       public NSURLSessionDelegate,
                                       public std::enable_shared_from_this<TQWhiteBoard> {
public:
    /// @param webView shows the room; held until a successful quit. Absent: every operation fails with 300001.
    static std::shared_ptr<TQWhiteBoard> initWithWebView(std::shared_ptr<TQWBWebView> webView);

    /// Joins a live room and loads its page; does not wait for the page.
    /// @param config kept, not copied: a later quit reads it again. Minutes of 0 become 1440 in it.
    void joinWithConfig(std::shared_ptr<TQWBRoomConfig> config, TQWBSuccess success, TQWBFailure error);
    /// Replays a recorded room: loads its page; does not wait for the page.
    void playWithConfig(std::shared_ptr<TQWBRecordConfig> config, TQWBSuccess success, TQWBFailure error);
    /// Leaves the joined room. After its success this object is spent: make a new one.
    void quitWhiteBoard(TQWBSuccess success, TQWBFailure error);

    /// The library's version, "1.0.0".
    static std::string getVersion();
    /// Forgets where the service is for the pair of application key and token, so that the next operation asks the
    /// navigation servers again: after a service has moved, say, which is remembered for two hours otherwise. Other
    /// pairs stay. What cannot be taken off the disk is forgotten for this run. Any thread.
    static void forgetNavigation(const OptionalText& appKey, const OptionalText& token);
    /// Whether the record can be used to join; an absent one cannot.
    static bool invaliedRoomConfig(const TQWBRoomConfig* config);
    /// Whether the record can be used to replay; an absent one cannot.
    static bool invaliedRecordConfig(const TQWBRecordConfig* config);

    /// The view that shows the room; absent after a successful quit.
    std::shared_ptr<TQWBWebView> webView() const;
    /// Where the conference service is; absent before the first operation that got so far.
    std::shared_ptr<const TQWBNaviDataInfo> naviData() const;
    /// The record of the joined room; absent while there is none.
    std::shared_ptr<TQWBRoomConfig> roomConfig() const;

    // The steps that the operations are made of.

    /// Finds the conference service and keeps where it is.
    void requestNavi(const OptionalText& appKey, const OptionalText& token, TQWBSuccess success, TQWBFailure error);
    /// Asks the service for a room and loads its page; the navigation data must be there.
    void joinWhiteBoard(std::shared_ptr<TQWBRoomConfig> config, TQWBSuccess success, TQWBFailure error);
    /// Asks the service for a recording and loads its page; the navigation data must be there.
    void requestRecordUrl(std::shared_ptr<TQWBRecordConfig> config, TQWBSuccess success, TQWBFailure error);
    /// Tells the service that the user leaves, and ends the room.
    void requestQuitUrlWithConfig(std::shared_ptr<TQWBRoomConfig> config, TQWBSuccess success, TQWBFailure error);
    /// A POST request to the conference service.
    static NSMutableURLRequest getRequest(
        const std::string& url, const boost::json::object& body, const OptionalText& appKey, const OptionalText& token);
    /// The address of a room's page; empty while it is not known where the service is.
    std::string getRoomUrl(const OptionalText& key) const;
    /// A random text of so many letters and digits; empty for 0 and less.
    static std::string generateMixed(std::int32_t length);

private:
    explicit TQWhiteBoard(std::shared_ptr<TQWBWebView> webView);

    void withNavigation(const OptionalText& appKey, const OptionalText& token, TQWBFailure error,
        std::function<void(TQWhiteBoard&)> next);
    void setNaviData(std::shared_ptr<const TQWBNaviDataInfo> data);
    void setRoomConfig(std::shared_ptr<TQWBRoomConfig> config);
    void dropWebView();

    mutable std::mutex m_mutex;
    std::shared_ptr<TQWBWebView> m_webView;
    std::shared_ptr<const TQWBNaviDataInfo> m_naviData;
    std::shared_ptr<TQWBRoomConfig> m_roomConfig;
};

} // namespace tq
