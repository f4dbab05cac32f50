#pragma once

#include "../TQWBRoom.h"

#include <memory>
#include <optional>

namespace tq {

class FakeProgress;

/// A room for the tests of applications: the code under test gets a real `TQWBRoom`, and the test says what becomes of
/// it. It needs no display and no network, and has no view. Main thread.
///
/// ```
/// tq::TQWBFakeRoom fake;
/// Classroom classroom(fake.room());
/// classroom.open("algebra");
/// fake.become(tq::TQWBRoomState::Shown);
/// EXPECT_FALSE(classroom.showsSpinner());
/// ```
///
/// State handlers and delegates are called within the calls that follow; what waits for a step goes on in
/// `runMainLoop`.
class TQWB_EXPORT TQWBFakeRoom {
public:
    TQWBFakeRoom();
    ~TQWBFakeRoom();
    TQWBFakeRoom(const TQWBFakeRoom&) = delete;
    TQWBFakeRoom& operator=(const TQWBFakeRoom&) = delete;

    /// The room for the code under test. The first one is this test's; further ones are over.
    TQWBRoom room();

    // What the code under test has done.

    /// The live room that was entered; absent: none was. A record that cannot be used ends the room, as in life.
    const TQWBRoomConfig* entered() const;
    /// The recording that was opened; absent: none was.
    const TQWBRecordConfig* opened() const;
    /// Whether the room was dropped before it was over.
    bool wasDropped() const;

    // What happens.

    /// The room comes to a state. Nothing happens when it is over, or dropped.
    void become(TQWBRoomState state);
    /// The room is over; also the answer to an application that leaves one that was shown, whose state is leaving until
    /// then. @param reason absent: the user has left, or the page says that the room was quit.
    void finish(std::optional<TQWBError> reason = std::nullopt);

    // What the page tells the delegates.

    /// See `TQWBRecordProtocol::onWBRecordStart`.
    void startRecording();
    /// See `TQWBRecordProtocol::onWBRecordEnd`.
    void endRecording(const OptionalText& url);
    /// See `TQWBPermissionProtocol::onWBPermissionChange`.
    void changePermission(NSInteger status);
    /// The page says that the room was quit: tells the delegate, and the room is over.
    void quit();
    /// The page says that the room has failed: tells the delegate, and the room is over.
    void fail(const TQWBException& exception);
    /// See `TQWBRoomStatusProtocol::onWBCaptureEnd`.
    void capture(const std::shared_ptr<UIImage>& image);

    /// Runs what is due on the main loop, without waiting: the continuations of what has ended.
    static void runMainLoop();

private:
    std::shared_ptr<FakeProgress> m_progress;
    bool m_isTaken = false;
};

} // namespace tq
