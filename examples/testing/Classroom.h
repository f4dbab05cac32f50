#pragma once

#include <TQWhiteBoardLib/Coroutines.h>
#include <TQWhiteBoardLib/TQWhiteBoardLib.h>
#include <functional>
#include <memory>
#include <optional>
#include <string>

/// What an application makes of a room: one lesson at a time, and what its window says of it. The window itself is
/// somewhere else, so that this can be tested without one.
class Classroom {
public:
    /// In the application: `[] { return tq::TQWBRoom(); }`.
    using RoomMaker = std::function<tq::TQWBRoom()>;

    Classroom(std::string token, RoomMaker makeRoom);

    /// Enters the lesson, and tries once more when the network was the trouble.
    void open(const std::string& lesson);
    /// Leaves, or gives up what is under way.
    void close();

    /// To be read by the user.
    const std::string& status() const { return m_status; }
    /// Whether the user has to wait.
    bool isBusy() const;
    /// Whether the user has a pen.
    bool mayDraw() const;

private:
    class Pen;

    tq::Task<> visit(std::string lesson);
    void follow(tq::TQWBRoomState state, const tq::TQWBError* reason);

    std::string m_token;
    RoomMaker m_makeRoom;
    std::string m_status = "No lesson";
    // Rooms hold their delegates weakly.
    std::shared_ptr<Pen> m_pen;
    std::optional<tq::TQWBRoom> m_room;
    std::optional<tq::Task<>> m_visit;
};
