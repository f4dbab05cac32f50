#include "Child.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace tq::test {

namespace {

constexpr unsigned kBoundSeconds = 60;

[[noreturn]] void run(const std::function<void(const Child::Tell&)>& body, int output)
{
    // Whoever reads is told of the end then.
    alarm(kBoundSeconds);
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
    m_output = fdopen(pipe[0], "r");
}

Child::~Child()
{
    kill();
    waitpid(m_pid, nullptr, 0);
    std::fclose(m_output);
}

std::optional<std::string> Child::readLine()
{
    char* text = nullptr;
    std::size_t size = 0;
    const auto length = getline(&text, &size, m_output);
    const std::unique_ptr<char, decltype(&std::free)> owned(text, std::free);
    if (length <= 0)
        return std::nullopt;
    return std::string(text, static_cast<std::size_t>(length) - 1);
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
