#pragma once

#include "tests/support/HttpsServer.h"
#include "tests/support/Program.h"
#include "tests/support/Screen.h"

#include <boost/json/value.hpp>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace tq::test {

/// Runs clients, each test in a folder of its own.
class ClientPrograms : public testing::Test {
public:
    /// What the page's function answers.
    static boost::json::value call(
        Program& client, const std::string& function, const boost::json::array& arguments = {});

protected:
    using Words = std::vector<std::string>;

    ~ClientPrograms() override { std::filesystem::remove_all(folder); }

    std::unique_ptr<Program> start(Words words, Program::Environment environment = {});
    Words joinWords(const std::string& user, const std::string& token = "good") const;
    /// A client that has joined, and whose page has loaded.
    std::unique_ptr<Program> joined(const std::string& user, Program::Environment environment = {});
    /// Waits until a window of that title is on the screen, and fails the test when none comes.
    static Screen::Window waitForWindow(const std::string& title);

    const std::filesystem::path folder = std::filesystem::path(getenv("XDG_DATA_HOME")) / "clients";
    std::string host;
    std::string authority;

private:
    int m_count = 0;
};

/// Clients against a service whose answers the test chooses.
class AnswersTest : public ClientPrograms {
protected:
    void SetUp() override;

    /// Where the rooms' pages are, the page, and the answer to a join and to all that is no page.
    Shared<std::string> pages{ "" };
    Shared<std::string> page{ "" };
    Shared<std::string> join{ HttpsServer::answerWith(200, R"({"code":0,"key":"k"})") };
    HttpsServer service{ [this](const ReceivedRequest& request) { return answerTo(request); } };

private:
    std::string answerTo(const ReceivedRequest&);
};

/// The programs themselves: clients against the local service.
class ServiceTest : public ClientPrograms {
protected:
    explicit ServiceTest(int roomSize)
        : m_roomSize(roomSize)
    {
    }
    void SetUp() override;

    std::unique_ptr<Program> service;

private:
    int m_roomSize;
};

} // namespace tq::test
