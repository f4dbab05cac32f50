#pragma once

#include "JoinRequest.h"
#include "PlayerRequest.h"
#include "RecordingStore.h"
#include "Refusal.h"
#include "Room.h"
#include "RoomKeys.h"

#include <libsoup/soup.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace tq::conference {

/// What the service knows: its rooms, the keys that open them, the recordings. Main thread only.
class Conference {
public:
    static constexpr std::size_t s_mostRooms = 256;
    /// How long an empty room keeps its board.
    static constexpr std::chrono::minutes s_emptyRoomLife{ 10 };

    Conference(std::size_t roomSize, RecordingStore);

    /// A key of the room page, or why there is none.
    std::variant<std::string, Refusal> join(const std::string& room, const JoinRequest&);
    std::variant<std::string, Refusal> play(const PlayerRequest&);
    /// `held` is kept until the user's page, if there is one, has taken note.
    std::optional<Refusal> quit(const std::string& room, const std::string& uid, std::shared_ptr<void> held);

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
