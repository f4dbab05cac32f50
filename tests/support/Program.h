#pragma once

#include <boost/json/object.hpp>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace tq::test {

/// A program of ours under test: its standard input is written line by line, its standard output read as one JSON
/// object a line. Killed when this goes. Every wait is bounded.
class Program {
public:
    using Environment = std::map<std::string, std::string>;

    /// @param errorFile receives the standard error. @param environment is added to the test's own.
    Program(std::vector<std::string> words, const std::string& errorFile, const Environment& environment = {});
    /// Part of the test, in a copy of its process. The test must have no other thread then.
    explicit Program(const std::function<void()>& body);
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    void write(const std::string& line);
    /// The next line; absent at the end of the output.
    std::optional<std::string> readLine();
    /// All lines still to come, each with its line break.
    std::string readRest();
    /// Reads on until a line with that event and these members. Fails the test and returns an empty object when the
    /// output ends, is no JSON, or the bound is reached first.
    boost::json::object waitFor(const std::string& event, const boost::json::object& members = {});
    /// The same for an event of that operation.
    boost::json::object waitFor(const std::string& event, const std::string& operation);
    /// Reads on until a line of the output holds the text, be it JSON or not.
    void waitForLine(const std::string& text);
    /// Waits until what is written on standard error holds the text.
    void waitForLog(const std::string& text);
    std::string log() const;
    pid_t id() const { return m_pid; }
    /// Waits for the end, after the signal if one is given; the exit status, or -1 when a signal ended it.
    int end(int signal = 0);

private:
    std::string m_errorFile;
    pid_t m_pid = 0;
    int m_input = -1;
    int m_output = -1;
    std::string m_unread;
};

} // namespace tq::test
