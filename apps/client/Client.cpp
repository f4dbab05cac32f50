#include "Client.h"

#include "CommandArguments.h"
#include "Text.h"
#include "ViewCapture.h"

#include <algorithm>
#include <csignal>
#include <glib-unix.h>
#include <iterator>

namespace tqclient {

namespace {

void complain(const std::string& message) { g_printerr("tqwhiteboard: %s\n", message.c_str()); }

} // namespace

Client::Client(const Options& options, std::shared_ptr<JsonLines> lines)
    : m_startCommand(options.command)
    , m_lines(std::move(lines))
    , m_session(std::make_shared<Session>(options, m_lines))
    , m_window(std::make_shared<MainWindow>(options, *m_session, [this] { end(); }))
    , m_loop(g_main_loop_new(nullptr, FALSE))
{
    m_session->setObserver(m_window);
}

Client::~Client() = default;

void Client::run()
{
    auto end = [](gpointer loop) -> gboolean {
        g_main_loop_quit(static_cast<GMainLoop*>(loop));
        return G_SOURCE_CONTINUE;
    };
    const guint signals[]
        = { g_unix_signal_add(SIGINT, end, m_loop.get()), g_unix_signal_add(SIGTERM, end, m_loop.get()) };
    m_window->present();
    if (m_startCommand == StartCommand::Join)
        m_session->start(Operation::Join);
    else if (m_startCommand == StartCommand::Play)
        m_session->start(Operation::Play);
    m_reader = std::make_unique<CommandReader>([this](const std::string& line) { obey(line); });
    g_main_loop_run(m_loop.get());
    std::ranges::for_each(signals, g_source_remove);
    m_reader.reset();
    m_session->setObserver({});
    m_window.reset();
    m_session.reset();
}

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
    else {
        try {
            command->run(*this, argument);
        } catch (const UsageError& error) {
            complain(std::string(word) + ": " + error.message);
        }
    }
}

void Client::callPage(std::string_view text)
{
    if (!m_session->callPage(readPageCall(text)))
        throw UsageError{ "there is no board on the screen" };
}

void Client::askPage(std::string_view text)
{
    if (splitWord(text).first != text)
        throw UsageError{ "\"" + displayText(text, 100) + "\" is more than a name" };
    if (!m_session->askPage(readPageCall(text).name))
        throw UsageError{ "there is no board on the screen" };
}

void Client::setLabels(std::string_view text)
{
    auto labels = readDialogLabels(text);
    m_session->setDialogLabels(std::move(labels.texts));
    if (!labels.unknownNames.empty())
        throw UsageError{ "no dialog has a label named" + labels.unknownNames };
}

void Client::takeScreenshot(std::string_view text)
{
    std::string path(text);
    captureView(m_window->content(), path, [path, lines = m_lines](const std::string& failure) {
        if (failure.empty())
            lines->event("screenshot", { { "path", validUtf8(path) } });
        else
            complain("no screenshot at " + displayText(path, 500) + ": " + failure);
    });
}

} // namespace tqclient
