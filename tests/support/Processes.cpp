#include "Processes.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <poll.h>
#include <string>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

namespace tq::test {

namespace {

// One engine names its program after what it does, another tells it by a word. (Who puts the first into a sandbox has
// its name among the words.)
bool isPage(const std::string& process)
{
    std::ifstream stream("/proc/" + process + "/cmdline");
    const std::string words{ std::istreambuf_iterator<char>(stream), {} };
    return words.substr(0, words.find('\0')).ends_with("WebKitWebProcess")
        || words.find("--type=renderer") != words.npos;
}

// Among the process's descendants: the engine may put another process between.
void findPages(const std::string& process, std::vector<pid_t>& found)
{
    for (const auto& thread : std::filesystem::directory_iterator("/proc/" + process + "/task")) {
        std::ifstream children(thread.path() / "children");
        for (std::string child; children >> child;) {
            if (isPage(child))
                found.push_back(std::stoi(child));
            else
                findPages(child, found);
        }
    }
}

} // namespace

void killPages(pid_t process)
{
    std::vector<pid_t> pages;
    findPages(std::to_string(process), pages);
    int count = 0;
    for (const auto page : pages) {
        pollfd end{ static_cast<int>(syscall(SYS_pidfd_open, page, 0)), POLLIN, 0 };
        if (poll(&end, 1, 0) == 0) {
            kill(page, SIGKILL);
            EXPECT_EQ(poll(&end, 1, 10000), 1) << "a killed process stays";
            ++count;
        }
        close(end.fd);
    }
    EXPECT_GT(count, 0) << "there is no process to kill";
}

} // namespace tq::test
