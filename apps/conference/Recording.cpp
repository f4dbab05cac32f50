#include "Recording.h"

#include "StateFile.h"
#include "platform/Foundation/JSONWriter.h"

#include <algorithm>
#include <iostream>
#include <system_error>

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

RecordingStore::RecordingStore(std::filesystem::path directory)
    : m_directory(std::move(directory))
{
    StateFile::ensureDirectory(m_directory);
}

bool RecordingStore::save(const std::string& id, const boost::json::object& recording) const
{
    try {
        StateFile::write(m_directory / (id + ".json"), tq::writtenJSON(recording));
        return true;
    } catch (const std::system_error& error) {
        std::cerr << "recording not saved: " << error.what() << std::endl;
        return false;
    }
}

std::optional<std::string> RecordingStore::load(std::string_view id) const
{
    const auto isNameLetter = [](char letter) {
        return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') || (letter >= '0' && letter <= '9')
            || letter == '-' || letter == '_';
    };
    if (id.empty() || id.size() > 64 || !std::ranges::all_of(id, isNameLetter))
        return std::nullopt;
    auto text = StateFile::read(m_directory / (std::string(id) + ".json"), 4 * Recording::s_mostBytes);
    if (!text)
        return std::nullopt;
    boost::json::error_code error;
    const auto value = boost::json::parse(*text, error);
    const auto* const object = error ? nullptr : value.if_object();
    const auto* const events = object ? object->if_contains("events") : nullptr;
    return events && events->is_array() ? text : std::nullopt;
}

} // namespace tq::conference
