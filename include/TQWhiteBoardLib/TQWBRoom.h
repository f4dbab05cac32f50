#pragma once

#include "TQWBError.h"
#include "TQWBRecordConfig.h"
#include "TQWBRoomCode.h"
#include "TQWBRoomConfig.h"
#include "TQWBWebView.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tq {

class RoomProgress;

/// Where a room stands.
enum class TQWBRoomState {
    /// Made, and not entered yet.
    Idle,
    /// It is being asked where the conference service is.
    Finding,
    /// The service is being asked for the room or the recording.
    Joining,
    /// The room's page is on its way.
    Loading,
    /// The user sees the room.
    Shown,
    /// The page was lost, and the room is being entered again.
    Reconnecting,
    /// The service is being told that the user leaves.
    Leaving,
    /// The end: the view has been given up. For a reason, or because the user has left or the page has said so.
    Over,
};

/// The state in a word, in small letters, as "finding".
TQWB_EXPORT std::string_view nameOf(TQWBRoomState state);

/// What a room is made with.
struct TQWBRoomOptions {
    /// The place of the view, as `TQWBWebView::initWithFrame` takes it.
    CGRect frame{ 0, 0, 1280, 720 };
    /// What the view is made with; absent: the default.
    std::shared_ptr<WKWebViewConfiguration> configuration{};
    /// Which certificates the page's servers may have.
    AcceptedCertificates acceptedCertificates = AcceptedCertificates::Good;
    /// Servers that the page will ask beside its own and the conference service's, as `WKWebView::expectServers` takes
    /// them. (What that is told of the room's own view gives way to the room's.)
    std::vector<std::string> expectedServers{};
    /// Within which time the room is to be shown, from `enter` on, and again whenever it reconnects.
    std::chrono::milliseconds timeLimit = std::chrono::seconds(60);
    /// After which time a page that does not begin to arrive is asked for again, three times at most. Handshakes for
    /// extra trust anchors, of five seconds at most, are part of it.
    std::chrono::milliseconds pagePatience = std::chrono::seconds(10);
    /// After which time a page that has loaded and does not say so (`onLoadEnd`) counts as shown.
    std::chrono::milliseconds loadEndPatience = std::chrono::seconds(5);
};

/// How entering or leaving a room has ended.
struct TQWBRoomOutcome {
    /// Why it has failed; absent: it has not.
    std::optional<TQWBError> error;

    /// Whether it was a success.
    explicit operator bool() const { return !error; }
};

/// Something that a room has begun. It goes on whether or not anybody waits for its end; with
/// `TQWhiteBoardLib/Coroutines.h`, a coroutine can: `co_await room.enter(config)`. Main thread.
class TQWB_EXPORT TQWBRoomStep {
public:
    /// Called once, on the main thread, at a later turn of its loop. Not called any more once the room is dropped.
    using Callback = std::function<void(const TQWBRoomOutcome& outcome)>;

    /// Has the end told. One callback: a later one takes the place of the one before.
    void then(Callback callback) const;

    /// @cond
    // For coroutines: what has ended is told also when the room is dropped before that.
    void await(Callback callback) const;
    struct TQWB_HIDDEN Ending;
    explicit TQWBRoomStep(std::shared_ptr<Ending> ending);
    /// @endcond

private:
    std::shared_ptr<Ending> m_ending;
};

/// One room on the screen, from its finding to its end: joins a live room or opens a recording, loads the page, sees
/// that it comes, brings it back when it is lost, and leaves. Main thread only.
///
/// ```
/// tq::TQWBRoom room;
/// gtk_window_set_child(window, tq::nativeView(*room.view()));
/// room.setStateHandler([](tq::TQWBRoomState state, const tq::TQWBError* reason) { ... });
/// room.enter({ .appKey = ..., .token = ..., .roomId = ..., .userId = ..., .userName = ... });
/// ```
///
/// States come in this order: finding, joining, loading, shown, leaving, over. A service that is not where it is
/// remembered is looked for again, once: finding comes twice then. A page whose process ends is brought back by
/// entering the room again (reconnecting, then shown), up to three times within a minute of being shown. Every room
/// comes to its end: shown or over within its time limit, and over within twenty seconds of leaving.
///
/// A room that is dropped is left: a user whose join was sent is taken out at the service, in the background (a program
/// that ends waits up to two seconds for that, if the room was dropped before `exit`). The next join of the same user
/// in the same room waits for it; one that was sent before the drop stays. Nobody is taken out of a room that its page
/// declares quit or failed: the same user may have entered it from another place.
///
/// While the room is shown, its page's main frame stays with the page's own origin: links elsewhere lead nowhere.
class TQWB_EXPORT TQWBRoom {
public:
    /// Told of each new state. @param reason why it is over; null in other states, and when there is no reason: the
    /// user has left, or the page says that its room was quit.
    using StateHandler = std::function<void(TQWBRoomState state, const TQWBError* reason)>;

    /// A room that has a view, and does nothing yet.
    explicit TQWBRoom(TQWBRoomOptions options = {});
    /// Leaves the room if it was entered and is not over, and tells nobody.
    ~TQWBRoom();
    /// The room goes on under another name; the old one is over.
    TQWBRoom(TQWBRoom&& other) noexcept;
    /// The room that was here is dropped.
    TQWBRoom& operator=(TQWBRoom&& other) noexcept;

    /// Enters a live room, once. The record is copied; minutes of 0 ask for 1440.
    /// @returns what ends when the room is shown, or over before that.
    TQWBRoomStep enter(const TQWBRoomConfig& config);
    /// Opens a recording instead, once.
    TQWBRoomStep replay(const TQWBRecordConfig& config);
    /// Leaves. While the service is still looked for or asked this is a cancellation, and the room is over at once;
    /// afterwards the service is told first, for twenty seconds at most. When it could not be told, that is the
    /// outcome's error and the reason.
    /// @returns what ends when the room is over. A room that is over stays so, without an error.
    TQWBRoomStep leave();

    /// Where the room stands.
    TQWBRoomState state() const;
    /// Why the room is over; absent when it is not, and when there is no reason.
    const std::optional<TQWBError>& reason() const;
    /// Has each new state told, on the main thread. The handler may do anything with the room, its end included. Empty:
    /// nobody is told.
    void setStateHandler(StateHandler handler);

    /// The view to be placed in a window; the room is its navigation delegate, which it must stay. To close it is to
    /// leave the room. Absent when the room is over (the view is still there while that is told), without a display,
    /// and in a test's room. Typed calls of the page's functions end when the page is lost or the room is over, with an
    /// error; those of a room that is dropped are not told.
    std::shared_ptr<TQWBWebView> view() const;

    /// As the view's own, and also told by a test's room. Held weakly: a temporary would be gone at once.
    template <DelegateOf<TQWBRoomStatusProtocol> Delegate>
    void setRoomStatusDelegate(const std::shared_ptr<Delegate>& delegate)
    {
        delegates().roomStatus.set(delegate);
        if (const auto shown = view())
            shown->setRoomStatusDelegate(delegate);
    }
    /// As `setRoomStatusDelegate`.
    template <DelegateOf<TQWBRecordProtocol> Delegate> void setRecordDelegate(const std::shared_ptr<Delegate>& delegate)
    {
        delegates().record.set(delegate);
        if (const auto shown = view())
            shown->setRecordDelegate(delegate);
    }
    /// As `setRoomStatusDelegate`.
    template <DelegateOf<TQWBPermissionProtocol> Delegate>
    void setPermissionDelegate(const std::shared_ptr<Delegate>& delegate)
    {
        delegates().permission.set(delegate);
        if (const auto shown = view())
            shown->setPermisssionDelegate(delegate);
    }
    /// @cond
    template <class Delegate> void setRoomStatusDelegate(const std::shared_ptr<Delegate>&& temporary) = delete;
    template <class Delegate> void setRecordDelegate(const std::shared_ptr<Delegate>&& temporary) = delete;
    template <class Delegate> void setPermissionDelegate(const std::shared_ptr<Delegate>&& temporary) = delete;

    struct Delegates {
        WeakDelegate<TQWBRoomStatusProtocol> roomStatus;
        WeakDelegate<TQWBRecordProtocol> record;
        WeakDelegate<TQWBPermissionProtocol> permission;
    };
    explicit TQWBRoom(std::shared_ptr<RoomProgress> progress);
    /// @endcond

private:
    Delegates& delegates();
    RoomProgress& progress() const;
    void drop();

    std::shared_ptr<RoomProgress> m_progress;
};

} // namespace tq
