#pragma once

#include "GLibTypes.h"

#include <functional>
#include <string>

namespace tqclient {

/// Reads commands from the standard input, one a line, without ever blocking. Main thread.
class CommandReader {
public:
    /// Runs once for every line, without its line break; it must not destroy the reader.
    using Handler = std::function<void(const std::string& line)>;

    explicit CommandReader(Handler handler);
    CommandReader(const CommandReader&) = delete;
    CommandReader& operator=(const CommandReader&) = delete;
    ~CommandReader();

private:
    void read();
    void received(const char* line, gsize size);

    Handler m_handler;
    UniqueObject<GDataInputStream> m_stream;
    UniqueObject<GCancellable> m_cancellable{ g_cancellable_new() };
};

} // namespace tqclient
