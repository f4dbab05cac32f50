#include "Program.h"

#include "MainLoop.h"

#include <algorithm>
#include <array>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <poll.h>
#include <sstream>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tq::test {

namespace {

constexpr int kBoundSeconds = 60;

bool isReadable(int descriptor)
{
    pollfd one{ descriptor, POLLIN, 0 };
    return poll(&one, 1, kBoundSeconds * 1000) == 1;
}

// Runs in the child.
[[noreturn]] void become(
    std::vector<std::string>& words, const std::string& errorFile, const Program::Environment& environment)
{
    dup2(open(errorFile.c_str(), O_CREAT | O_WRONLY | O_TRUNC | O_CLOEXEC, 0600), STDERR_FILENO);
    for (const auto& [name, value] : environment)
        setenv(name.c_str(), value.c_str(), 1);
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (auto& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    execv(pointers[0], pointers.data());
    _exit(127);
}

} // namespace

Program::Program(std::vector<std::string> words, const std::string& errorFile, const Environment& environment)
    : Program([&] { become(words, errorFile, environment); })
{
    m_errorFile = errorFile;
}

Program::Program(const std::function<void()>& body)
{
    std::array<int, 2> input{};
    std::array<int, 2> output{};
    if (pipe2(input.data(), O_CLOEXEC) || pipe2(output.data(), O_CLOEXEC))
        throw std::runtime_error("no pipes");
    m_pid = fork();
    if (!m_pid) {
        dup2(input[0], STDIN_FILENO);
        dup2(output[1], STDOUT_FILENO);
        try {
            body();
        } catch (...) {
            _exit(2);
        }
        // Nothing of the test is taken down twice.
        _exit(0);
    }
    close(input[0]);
    close(output[1]);
    m_input = input[1];
    m_output = output[0];
    // A program that has ended must not end the test.
    std::signal(SIGPIPE, SIG_IGN);
}

Program::~Program()
{
    if (m_pid)
        end(SIGKILL);
    close(m_input);
    close(m_output);
}

void Program::write(const std::string& line)
{
    const auto bytes = line + "\n";
    EXPECT_EQ(::write(m_input, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
}

std::optional<std::string> Program::readLine()
{
    std::array<char, 65536> buffer{};
    auto end = m_unread.find('\n');
    while (end == std::string::npos) {
        const auto count = isReadable(m_output) ? read(m_output, buffer.data(), buffer.size()) : 0;
        if (count <= 0)
            return std::nullopt;
        const auto searched = m_unread.size();
        m_unread.append(buffer.data(), static_cast<std::size_t>(count));
        end = m_unread.find('\n', searched);
    }
    auto line = m_unread.substr(0, end);
    m_unread.erase(0, end + 1);
    return line;
}

std::string Program::readRest()
{
    std::string rest;
    while (const auto line = readLine())
        rest += *line + "\n";
    return rest;
}

boost::json::object Program::waitFor(const std::string& event, const boost::json::object& members)
{
    auto wanted = members;
    wanted["event"] = event;
    while (auto line = readLine()) {
        boost::json::error_code failure;
        const auto value = boost::json::parse(*line, failure);
        EXPECT_TRUE(!failure && value.is_object()) << "the output is no JSON object: " << *line;
        if (failure || !value.is_object())
            break;
        const auto& found = value.get_object();
        if (std::ranges::all_of(wanted, [&](const auto& member) {
                const auto* same = found.if_contains(member.key());
                return same && *same == member.value();
            }))
            return found;
    }
    ADD_FAILURE() << "waited in vain for " << boost::json::serialize(wanted) << "; log:\n" << log();
    return {};
}

boost::json::object Program::waitFor(const std::string& event, const std::string& operation)
{
    return waitFor(event, boost::json::object{ { "operation", operation } });
}

void Program::waitForLine(const std::string& text)
{
    std::string read;
    while (const auto line = readLine()) {
        if (line->find(text) != std::string::npos)
            return;
        read += *line + '\n';
    }
    ADD_FAILURE() << "waited in vain for \"" << text << "\" in the output:\n" << read << "log:\n" << log();
}

void Program::waitForLog(const std::string& text)
{
    if (!runUntil([&] { return log().find(text) != std::string::npos; }, "the log has \"" + text + "\"",
            std::chrono::seconds(kBoundSeconds)))
        ADD_FAILURE() << log();
}

std::string Program::log() const
{
    std::ostringstream content;
    content << std::ifstream(m_errorFile).rdbuf();
    return content.str();
}

int Program::end(int signal)
{
    if (signal)
        kill(m_pid, signal);
    const int process = static_cast<int>(syscall(SYS_pidfd_open, m_pid, 0));
    if (!isReadable(process)) {
        ADD_FAILURE() << "the program does not end";
        kill(m_pid, SIGKILL);
    }
    close(process);
    int status = 0;
    waitpid(m_pid, &status, 0);
    m_pid = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace tq::test
