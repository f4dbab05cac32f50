#include "Conference.h"

namespace tq::conference {

namespace {

constexpr std::chrono::hours s_replayLife{ 24 };

} // namespace

Conference::Conference(std::size_t roomSize, RecordingStore recordings)
    : m_roomSize(roomSize)
    , m_recordings(std::move(recordings))
{
}

bool Conference::hasPlace(const std::string& room, const std::string& uid, Clock::time_point now) const
{
    auto uids = m_keys.holders(room, now);
    if (const auto found = m_rooms.find(room); found != m_rooms.end())
        uids.merge(found->second->uids());
    return uids.contains(uid) || uids.size() < m_roomSize;
}

bool Conference::makeSpace()
{
    if (m_rooms.size() < s_mostRooms)
        return true;
    auto oldest = m_rooms.end();
    for (auto room = m_rooms.begin(); room != m_rooms.end(); ++room) {
        const auto since = room->second->emptySince();
        if (since && (oldest == m_rooms.end() || *since < *oldest->second->emptySince()))
            oldest = room;
    }
    if (oldest == m_rooms.end())
        return false;
    m_rooms.erase(oldest);
    return true;
}

Room& Conference::ensureRoom(const std::string& name)
{
    auto& room = m_rooms[name];
    if (!room)
        room = std::make_unique<Room>(name, m_recordings);
    return *room;
}

std::variant<std::string, Refusal> Conference::join(const std::string& room, const JoinRequest& request)
{
    const auto now = Clock::now();
    m_keys.sweep(now);
    if (!hasPlace(room, request.uid, now))
        return Refusal{ Refusal::s_roomFull, "room full" };
    if (m_keys.isFull() || (!m_rooms.contains(room) && !makeSpace()))
        return Refusal{ Refusal::s_serviceFull, "too many rooms" };
    ensureRoom(room);
    RoomKey key;
    key.room = room;
    key.uid = request.uid;
    key.name = request.name;
    key.role = request.role;
    key.validUntil = now + request.minutes;
    return m_keys.issue(std::move(key), now).text;
}

std::variant<std::string, Refusal> Conference::play(const PlayerRequest& request)
{
    const auto now = Clock::now();
    m_keys.sweep(now);
    RoomKey key;
    key.recording = request.recordingId();
    if (!m_recordings.load(key.recording))
        return Refusal{ Refusal::s_noRecording, "recording not found" };
    if (m_keys.isFull())
        return Refusal{ Refusal::s_serviceFull, "too many rooms" };
    key.room = request.room;
    key.uid = request.uid;
    key.name = request.name;
    key.validUntil = now + s_replayLife;
    return m_keys.issue(std::move(key), now).text;
}

std::optional<Refusal> Conference::quit(const std::string& room, const std::string& uid, std::shared_ptr<void> held)
{
    const auto found = m_rooms.find(room);
    const bool wasIn = found != m_rooms.end() && found->second->quit(uid, std::move(held));
    const bool hadKey = m_keys.revoke(room, uid, Clock::now());
    if (wasIn || hadKey)
        return std::nullopt;
    return Refusal{ Refusal::s_notInRoom, "not in room" };
}

void Conference::connect(std::string_view text, SoupWebsocketConnection* connection, const std::string& host)
{
    const auto now = Clock::now();
    const auto key = m_keys.find(text, now);
    if (!key) {
        Member::refuse(connection, { Refusal::s_unknownKey, "the key of this room is unknown or has expired" });
        return;
    }
    if (!key->recording.empty()) {
        key->isUsed = true;
        Member(connection, key, host, 0).welcomeToReplay();
        return;
    }
    if (!hasPlace(key->room, key->uid, now) || (!m_rooms.contains(key->room) && !makeSpace())) {
        Member::refuse(connection, { Refusal::s_roomFull, "room full" });
        return;
    }
    key->isUsed = true;
    m_keys.revoke(key->room, key->uid, now, key.get());
    auto& room = ensureRoom(key->room);
    room.enter(std::make_shared<Member>(connection, key, host, room.freeSeat()));
}

void Conference::sweep()
{
    const auto now = Clock::now();
    m_keys.sweep(now);
    for (const auto& [name, room] : m_rooms)
        room->sweep(now);
    std::erase_if(m_rooms, [&](const auto& entry) {
        const auto since = entry.second->emptySince();
        return since && now - *since > s_emptyRoomLife;
    });
}

} // namespace tq::conference
