#include "Recording.h"

namespace tq::conference {

Recording::Recording(
    std::string id, std::string room, boost::json::array board, std::size_t boardBytes, Clock::time_point now)
    : m_id(std::move(id))
    , m_room(std::move(room))
    , m_board(std::move(board))
    , m_bytes(boardBytes)
    , m_start(now)
{
}

std::int64_t Recording::millisecondsAt(Clock::time_point now) const
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(now - m_start).count();
}

bool Recording::isFull(Clock::time_point now) const { return m_bytes >= s_mostBytes || now - m_start >= s_longest; }

void Recording::add(const boost::json::object& event, std::size_t bytes, Clock::time_point now)
{
    m_bytes += bytes;
    m_events.push_back(boost::json::object{ { "t", millisecondsAt(now) }, { "event", event } });
}

boost::json::object Recording::finish(Clock::time_point now)
{
    return { { "version", 1 }, { "room", m_room }, { "duration", millisecondsAt(now) },
        { "strokes", std::move(m_board) }, { "events", std::move(m_events) } };
}

} // namespace tq::conference
