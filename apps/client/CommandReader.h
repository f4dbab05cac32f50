#pragma once

#include "GLibTypes.h"

#include <functional>
#include <string>
#include <string_view>

namespace tqclient {

/// Reads commands from the standard input, one a line, without ever blocking. Main thread.
class CommandReader {
public:
    /// Runs once for every line, without its line break; it may destroy the reader.
    using Handler = std::function<void(std::string line)>;

    explicit CommandReader(Handler handler);
    CommandReader(const CommandReader&) = delete;
    CommandReader& operator=(const CommandReader&) = delete;
    ~CommandReader();

private:
    struct Lines;

    // Outlives the reader while a read is under way, which cannot be taken back at once.
    std::shared_ptr<Lines> m_lines;
};

} // namespace tqclient
