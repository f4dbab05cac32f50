#pragma once

#include "CommandReader.h"
#include "JsonLines.h"
#include "MainWindow.h"
#include "Options.h"
#include "Session.h"

#include <memory>
#include <string>

namespace tqclient {

/// The running program: its window, its session, and the commands from the standard input. Main thread.
class Client {
public:
    Client(const Options& options, std::shared_ptr<JsonLines> lines);
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;
    ~Client();

    /// Runs until the program is to end.
    void run();

private:
    void obey(const std::string& line);
    void callPage(std::string_view text);
    void askPage(std::string_view text);
    void setLabels(std::string_view text);
    void takeScreenshot(std::string_view text);
    void end() { g_main_loop_quit(m_loop.get()); }

    StartCommand m_startCommand;
    std::shared_ptr<JsonLines> m_lines;
    std::shared_ptr<Session> m_session;
    std::shared_ptr<MainWindow> m_window;
    std::unique_ptr<GMainLoop, Releaser<g_main_loop_unref>> m_loop;
    std::unique_ptr<CommandReader> m_reader;
};

} // namespace tqclient
