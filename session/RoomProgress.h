#pragma once

#include "TQWhiteBoardLib/TQWBRoom.h"

#include <memory>
#include <optional>
#include <variant>
#include <vector>

namespace tq {

using RoomRecord = std::variant<TQWBRoomConfig, TQWBRecordConfig>;

/// What every room has, be it a live one or a test's: its state, whom it tells, and who waits for it. Main thread.
class RoomProgress : public std::enable_shared_from_this<RoomProgress> {
public:
    virtual ~RoomProgress() = default;

    TQWBRoomStep enter(RoomRecord record);
    TQWBRoomStep leave();
    /// The application has let go of the room: nobody is told anything any more.
    void drop();

    TQWBRoomState state() const { return m_state; }
    const std::optional<TQWBError>& reason() const { return m_reason; }
    virtual std::shared_ptr<TQWBWebView> view() const = 0;

    TQWBRoom::StateHandler stateHandler;
    TQWBRoom::Delegates delegates;

protected:
    /// The room is entered; its state is still idle.
    virtual void begin(RoomRecord record) = 0;
    /// The user leaves a room that is shown, or comes back; its state is leaving. It must come to `finish`.
    virtual void tellService() = 0;
    /// The view and everything else go; the state is over.
    virtual void giveUp() = 0;

    /// Whether the record cannot be used: the room is over then.
    bool refuses(const RoomRecord& record);
    void become(TQWBRoomState state);
    /// It is over. What it holds is given up after that has been told.
    void finish(std::optional<TQWBError> reason);
    bool isOver() const { return m_state == TQWBRoomState::Over; }
    bool isDropped() const { return m_isDropped; }

private:
    void tell();
    std::shared_ptr<TQWBRoomStep::Ending> newEnding();

    TQWBRoomState m_state = TQWBRoomState::Idle;
    std::optional<TQWBError> m_reason;
    bool m_isDropped = false;
    std::vector<std::weak_ptr<TQWBRoomStep::Ending>> m_endings;
    std::shared_ptr<TQWBRoomStep::Ending> m_entering;
    std::vector<std::shared_ptr<TQWBRoomStep::Ending>> m_leaving;
};

} // namespace tq
