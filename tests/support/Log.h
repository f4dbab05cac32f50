#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tq::test {

/// Sends the system log to the test from now on; called once. A critical message of the toolkit fails the test under
/// way.
void captureLog();
/// A line of the library has come.
void addLogLine(std::string line);

/// The library's lines since the last `clearLog`, on all threads.
std::vector<std::string> logLines();
void clearLog();
/// How many of them are exactly this one.
long countOfLine(std::string_view line);
/// Whether one of them begins so.
bool hasLineBeginning(std::string_view beginning);

} // namespace tq::test
