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

std::string Conference::join(const std::string& room, const JoinBody& body)
{
    const auto now = Clock::now();
    m_keys.sweep(now);
    if (!hasPlace(room, body.user.uid, now))
        throw Refusal{ Refusal::s_roomFull, "room full" };
    if (m_keys.isFull() || (!m_rooms.contains(room) && !makeSpace()))
        throw Refusal{ Refusal::s_serviceFull, "too many rooms" };
    ensureRoom(room);
    return m_keys.issue({ .user = body.user, .room = room, .role = body.role, .validUntil = now + body.minutes }, now);
}

std::string Conference::play(const PlayBody& body)
{
    const auto now = Clock::now();
    m_keys.sweep(now);
    if (!m_recordings.load(body.recording))
        throw Refusal{ Refusal::s_noRecording, "recording not found" };
    if (m_keys.isFull())
        throw Refusal{ Refusal::s_serviceFull, "too many rooms" };
    return m_keys.issue(
        { .user = body.user, .room = body.room, .recording = body.recording, .validUntil = now + s_replayLife }, now);
}

void Conference::quit(const std::string& room, const std::string& uid, std::shared_ptr<void> held)
{
    const auto found = m_rooms.find(room);
    const bool wasIn = found != m_rooms.end() && found->second->quit(uid, std::move(held));
    const bool hadKey = m_keys.revoke(room, uid, Clock::now());
    if (!wasIn && !hadKey)
        throw Refusal{ Refusal::s_notInRoom, "not in room" };
}

void Conference::connect(std::string_view text, SoupWebsocketConnection* connection, const std::string& host)
{
    const auto now = Clock::now();
    const auto key = m_keys.find(text, now);
    if (!key)
        throw Refusal{ Refusal::s_unknownKey, "the key of this room is unknown or has expired" };
    if (!key->recording.empty()) {
        key->isUsed = true;
        Member(connection, key, host, 0).welcomeToReplay();
        return;
    }
    if (!hasPlace(key->room, key->user.uid, now) || (!m_rooms.contains(key->room) && !makeSpace()))
        throw Refusal{ Refusal::s_roomFull, "room full" };
    key->isUsed = true;
    m_keys.revoke(key->room, key->user.uid, now, key.get());
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
