#pragma once

#include "Recording.h"
#include "RequestBody.h"
#include "Room.h"
#include "RoomKeys.h"

#include <libsoup/soup.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace tq::conference {

/// What the service knows: its rooms, the keys that open them, the recordings. Main thread only.
class Conference {
public:
    static constexpr std::size_t s_mostRooms = 256;
    /// How long an empty room keeps its board.
    static constexpr std::chrono::minutes s_emptyRoomLife{ 10 };

    Conference(std::size_t roomSize, RecordingStore);

    // What is not done throws a Refusal.

    /// A key of the room page.
    std::string join(const std::string& room, const JoinBody&);
    std::string play(const PlayBody&);
    /// `held` is kept until the user's page, if there is one, has taken note.
    void quit(const std::string& room, const std::string& uid, std::shared_ptr<void> held);
    /// Takes a room page's socket; `host` is how the page addressed the service.
    void connect(std::string_view key, SoupWebsocketConnection*, const std::string& host);

    /// To be called about once a second: ends what has had its time.
    void sweep();

    const RecordingStore& recordings() const { return m_recordings; }

private:
    using Clock = std::chrono::steady_clock;

    bool hasPlace(const std::string& room, const std::string& uid, Clock::time_point now) const;
    bool makeSpace();
    Room& ensureRoom(const std::string& name);

    std::size_t m_roomSize;
    RecordingStore m_recordings;
    RoomKeys m_keys;
    std::map<std::string, std::unique_ptr<Room>> m_rooms;
};

} // namespace tq::conference
