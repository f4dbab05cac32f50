#include "Log.h"

#include <algorithm>
#include <mutex>
#include <utility>

namespace tq::test {

namespace {

std::mutex s_mutex;
std::vector<std::string> s_lines;

} // namespace

void addLogLine(std::string line)
{
    const std::lock_guard lock(s_mutex);
    s_lines.push_back(std::move(line));
}

std::vector<std::string> logLines()
{
    const std::lock_guard lock(s_mutex);
    return s_lines;
}

void clearLog()
{
    const std::lock_guard lock(s_mutex);
    s_lines.clear();
}

long countOfLine(std::string_view line) { return std::ranges::count(logLines(), line); }

bool hasLineBeginning(std::string_view beginning)
{
    return std::ranges::any_of(logLines(), [&](const std::string& line) { return line.starts_with(beginning); });
}

} // namespace tq::test
