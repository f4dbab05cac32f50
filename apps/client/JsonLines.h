#pragma once

#include "TQWhiteBoardLib/TQWBRoom.h"
#include "platform/Foundation/NSTypes.h"

#include <boost/json/object.hpp>
#include <mutex>

namespace tqclient {

/// The program's standard output: one JSON object a line, written whole and at once. Any thread.
class JsonLines {
public:
    /// Takes the standard output for itself: whatever else writes there, in this process or its children, goes to
    /// standard error from now on. Made once, before any thread.
    JsonLines();
    JsonLines(const JsonLines&) = delete;
    JsonLines& operator=(const JsonLines&) = delete;
    ~JsonLines();

    /// @param fields what follows the member "event".
    void event(std::string_view name, boost::json::object fields = {});
    /// The room's new state. @param reason why it is over; may be null.
    void room(tq::TQWBRoomState state, const tq::TQWBError* reason);

    /// The text, or null for absent.
    static boost::json::value textOrNull(const tq::OptionalText& text);

private:
    void writeLine(const std::string& line);

    std::mutex m_mutex;
    int m_descriptor = -1;
};

} // namespace tqclient
