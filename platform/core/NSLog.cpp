#include "../Foundation/NSLog.h"

#include <cstdio>

namespace tq {

void writeLogLine(const std::string& line)
{
    // One write a line, so that the lines of several threads do not mix.
    const auto text = line + '\n';
    std::fwrite(text.data(), 1, text.size(), stderr);
}

} // namespace tq
