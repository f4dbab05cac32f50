#pragma once

#include <cstdio>
#include <functional>
#include <optional>
#include <string>
#include <sys/types.h>

namespace tq::test {

/// Part of a test that runs in a process of its own, a copy of the test's; killed when this goes, and after a minute.
/// The test must have no other thread when it makes one.
class Child {
public:
    /// Sends a line to the test, whole, before it returns.
    using Tell = std::function<void(const std::string& line)>;

    explicit Child(const std::function<void(const Tell& tell)>& body);
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// The next line; absent at the end of the process.
    std::optional<std::string> readLine();
    /// All lines still to come, each with its line break.
    std::string readRest();
    void kill() const;

private:
    pid_t m_pid = 0;
    FILE* m_output = nullptr;
};

} // namespace tq::test
