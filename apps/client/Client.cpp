#include "Client.h"

#include "CommandArguments.h"
#include "Text.h"

#include <algorithm>
#include <csignal>
#include <glib-unix.h>
#include <iterator>

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
        .replayRecorded = [this](const std::string& url) { m_session->replay(url); },
        .leave = [this] { m_session->leave(); },
        .closed = [this] { end(); },
    };
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
    struct Command {
        std::string_view word;
        /// What follows the word; empty for nothing.
        std::string_view argument;
        void (*run)(Client&, std::string_view argument);
    };
    static constexpr Command kCommands[] = {
        { "join", "", [](Client& client, std::string_view) { client.m_session->start(Operation::Join); } },
        { "play", "", [](Client& client, std::string_view) { client.m_session->start(Operation::Play); } },
        { "quit", "", [](Client& client, std::string_view) { client.m_session->start(Operation::Quit); } },
        { "call", "NAME [JSON-LIST]", [](Client& client, std::string_view text) { client.callPage(text); } },
        { "exists", "NAME", [](Client& client, std::string_view text) { client.askPage(text); } },
        { "labels", "JSON-OBJECT", [](Client& client, std::string_view text) { client.setLabels(text); } },
        { "screenshot", "PATH", [](Client& client, std::string_view text) { client.takeScreenshot(text); } },
        { "exit", "", [](Client& client, std::string_view) { client.end(); } },
    };
    auto [word, argument] = splitWord(line);
    if (word.empty())
        return;
    const auto* command = std::ranges::find(kCommands, word, &Command::word);
    if (command == std::end(kCommands))
        complain("unknown command \"" + displayText(line, 100) + "\"; --help lists the commands");
    else if (command->argument.empty() != argument.empty())
        complain("the command is \"" + std::string(word) + (command->argument.empty() ? "" : " ")
            + std::string(command->argument) + "\", not \"" + displayText(line, 100) + "\"");
    else
        command->run(*this, argument);
}

void Client::callPage(std::string_view text)
{
    auto call = readPageCall(text);
    if (const auto* error = std::get_if<UsageError>(&call))
        complain("call: " + error->message);
    else if (!m_session->callPage(std::move(std::get<PageCall>(call))))
        complain("call: there is no board on the screen");
}

void Client::askPage(std::string_view text)
{
    if (splitWord(text).first != text)
        return complain("exists: \"" + displayText(text, 100) + "\" is more than a name");
    auto call = readPageCall(text);
    if (const auto* error = std::get_if<UsageError>(&call))
        complain("exists: " + error->message);
    else if (!m_session->askPage(std::get<PageCall>(call).name))
        complain("exists: there is no board on the screen");
}

void Client::setLabels(std::string_view text)
{
    auto labels = readDialogLabels(text);
    if (const auto* error = std::get_if<UsageError>(&labels))
        return complain("labels: " + error->message);
    auto& read = std::get<DialogLabels>(labels);
    if (!read.unknownNames.empty())
        complain("labels: no dialog has a label named" + read.unknownNames);
    m_session->setDialogLabels(std::move(read.texts));
}

void Client::takeScreenshot(std::string_view text)
{
    std::string path(text);
    m_window->capture(path, [path, lines = m_lines](const std::string& failure) {
        if (failure.empty())
            lines->event("screenshot", { { "path", validUtf8(path) } });
        else
            complain("no screenshot at " + displayText(path, 500) + ": " + failure);
    });
}

} // namespace tqclient
