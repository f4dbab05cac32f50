#pragma once

#include <boost/json.hpp>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace tq::conference {

/// A recording under way: the board as it was at the start, and what happened on it, with times.
class Recording {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr std::size_t s_mostBytes = 16U << 20U; ///< of events; the recording ends when it is full
    static constexpr std::chrono::hours s_longest{ 12 };

    /// `board` holds the strokes at the start, `boardBytes` is about their size as text.
    Recording(
        std::string id, std::string room, boost::json::array board, std::size_t boardBytes, Clock::time_point now);

    const std::string& id() const { return m_id; }
    bool isFull(Clock::time_point now) const;

    /// Adds an event that took `bytes` as text.
    void add(const boost::json::object& event, std::size_t bytes, Clock::time_point now);

    /// The file: {"version":1,"room":R,"duration":MS,"strokes":[STROKE...],"events":[{"t":MS,"event":{...}}...]}.
    boost::json::object finish(Clock::time_point now);

private:
    std::int64_t millisecondsAt(Clock::time_point now) const;

    std::string m_id;
    std::string m_room;
    boost::json::array m_board;
    boost::json::array m_events;
    std::size_t m_bytes;
    Clock::time_point m_start;
};

/// The finished recordings, one file each.
class RecordingStore {
public:
    /// Makes the directory. Throws std::system_error.
    explicit RecordingStore(std::filesystem::path directory);

    /// False (and a line in the log) when the file cannot be written.
    bool save(const std::string& id, const boost::json::object& recording) const;

    /// The recording's text, as it was saved; absent if there is none of that name or its file is damaged.
    std::optional<std::string> load(std::string_view id) const;

private:
    std::filesystem::path m_directory;
};

} // namespace tq::conference
