#include "Child.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace tq::test {

namespace {

constexpr int kBoundMilliseconds = 30000;

[[noreturn]] void run(const std::function<void(const Child::Tell&)>& body, int output)
{
    try {
        body([output](const std::string& line) {
            // Short enough to go whole or not at all.
            const auto bytes = line + "\n";
            if (write(output, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()))
                _exit(3);
        });
    } catch (...) {
        _exit(2);
    }
    // Nothing of the test is taken down twice.
    _exit(0);
}

} // namespace

Child::Child(const std::function<void(const Tell&)>& body)
{
    std::array<int, 2> pipe{};
    if (pipe2(pipe.data(), O_CLOEXEC))
        throw std::runtime_error("no pipe");
    m_pid = fork();
    if (!m_pid)
        run(body, pipe[1]);
    close(pipe[1]);
    m_output = pipe[0];
}

Child::~Child()
{
    kill();
    waitpid(m_pid, nullptr, 0);
    close(m_output);
}

std::optional<std::string> Child::readLine()
{
    std::array<char, 4096> buffer{};
    while (m_unread.find('\n') == std::string::npos) {
        pollfd one{ m_output, POLLIN, 0 };
        if (poll(&one, 1, kBoundMilliseconds) != 1) {
            ADD_FAILURE() << "the process says nothing";
            return std::nullopt;
        }
        const auto count = read(m_output, buffer.data(), buffer.size());
        if (count <= 0)
            return std::nullopt;
        m_unread.append(buffer.data(), static_cast<std::size_t>(count));
    }
    const auto end = m_unread.find('\n');
    auto line = m_unread.substr(0, end);
    m_unread.erase(0, end + 1);
    return line;
}

std::string Child::readRest()
{
    std::string rest;
    while (auto line = readLine())
        rest += *line + "\n";
    return rest;
}

void Child::kill() const { ::kill(m_pid, SIGKILL); }

} // namespace tq::test
