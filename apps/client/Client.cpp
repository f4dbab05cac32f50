#include "Client.h"

#include "Text.h"

#include <csignal>
#include <glib-unix.h>

namespace tqclient {

namespace {

/// Ends the loop when the system asks the program to end.
class EndSignals {
public:
    explicit EndSignals(GMainLoop* loop)
    {
        auto end = [](gpointer data) -> gboolean {
            g_main_loop_quit(static_cast<GMainLoop*>(data));
            return G_SOURCE_CONTINUE;
        };
        m_interrupt = g_unix_signal_add(SIGINT, end, loop);
        m_terminate = g_unix_signal_add(SIGTERM, end, loop);
    }
    EndSignals(const EndSignals&) = delete;
    EndSignals& operator=(const EndSignals&) = delete;
    ~EndSignals()
    {
        g_source_remove(m_interrupt);
        g_source_remove(m_terminate);
    }

private:
    guint m_interrupt;
    guint m_terminate;
};

void complain(const std::string& message) { g_printerr("tqwhiteboard: %s\n", message.c_str()); }

} // namespace

Client::Client(const Options& options, std::shared_ptr<JsonLines> lines)
    : m_startCommand(options.command)
    , m_lines(std::move(lines))
    , m_session(std::make_shared<Session>(options, m_lines))
    , m_window(std::make_shared<MainWindow>(options, windowActions()))
    , m_loop(g_main_loop_new(nullptr, FALSE))
{
    m_session->setObserver(m_window);
}

Client::~Client() = default;

MainWindow::Actions Client::windowActions()
{
    return {
        .join =
            [this](std::shared_ptr<tq::TQWBRoomConfig> config) {
                m_session->setRoomConfig(std::move(config));
                m_session->start(Operation::Join);
            },
        .replay =
            [this](std::shared_ptr<tq::TQWBRecordConfig> config) {
                m_session->setRecordConfig(std::move(config));
                m_session->start(Operation::Play);
            },
        .leave = [this] { m_session->leave(); },
        .closed = [this] { end(); },
    };
        .replayRecorded = [this](const std::string& url) { m_session->replay(url); },
}

void Client::run()
{
    EndSignals signals(m_loop.get());
    m_window->present();
    if (m_startCommand == StartCommand::Join)
        m_session->start(Operation::Join);
    else if (m_startCommand == StartCommand::Play)
        m_session->start(Operation::Play);
    m_reader = std::make_unique<CommandReader>([this](const std::string& line) { obey(line); });
    g_main_loop_run(m_loop.get());
    m_reader.reset();
    m_session->setObserver({});
    m_window.reset();
    m_session.reset();
}

void Client::end() { g_main_loop_quit(m_loop.get()); }

void Client::obey(const std::string& line)
{
    std::string command(line, 0, line.find_last_not_of(" \t\r") + 1);
    auto blank = command.find(' ');
    auto word = command.substr(0, blank);
    auto argument = blank == command.npos ? std::string() : command.substr(command.find_first_not_of(' ', blank));
    bool isAlone = argument.empty();
    if (word.empty())
        return;
    if (word == "join" && isAlone)
        m_session->start(Operation::Join);
    else if (word == "play" && isAlone)
        m_session->start(Operation::Play);
    else if (word == "quit" && isAlone)
        m_session->start(Operation::Quit);
    else if (word == "exit" && isAlone)
        end();
    else if (word == "screenshot" && !isAlone)
        takeScreenshot(argument);
    else if (word == "call" || word == "exists" || word == "labels")
        complain("the command \"" + word + "\" is not available yet");
    else
        complain("unknown command \"" + displayText(line, 100)
            + "\"; the commands are join, play, quit, screenshot PATH and exit");
}

void Client::takeScreenshot(const std::string& path)
{
    m_window->capture(path, [path, lines = m_lines](const std::string& failure) {
        if (failure.empty())
            lines->event("screenshot", { { "path", validUtf8(path) } });
        else
            complain("no screenshot at " + displayText(path, 500) + ": " + failure);
    });
}

} // namespace tqclient
