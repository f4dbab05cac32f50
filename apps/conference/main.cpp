#include "Certificate.h"
#include "Conference.h"
#include "Options.h"
#include "Recording.h"
#include "Server.h"
#include "StateFile.h"
#include "TokenRule.h"
#include "platform/Foundation/JSONWriter.h"

#include <boost/json.hpp>
#include <libsoup/soup.h>

#include <csignal>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <thread>

namespace {

using namespace tq::conference;

void serve(const Options& options)
{
    // For every thread; one of them waits for the signals.
    sigset_t ending;
    sigemptyset(&ending);
    sigaddset(&ending, SIGTERM);
    sigaddset(&ending, SIGINT);
    pthread_sigmask(SIG_BLOCK, &ending, nullptr);

    const auto directory = std::filesystem::absolute(options.stateDirectory).lexically_normal();
    StateFile::ensureDirectory(directory);
    const auto certificate = Certificate::ensure(directory, std::time(nullptr));
    const TokenRule tokens(options.tokens);
    Conference conference(options.roomSize, RecordingStore(directory / "recordings"));
    const Server server(conference, tokens, certificate, options.port);

    g_autoptr(GMainLoop) loop = g_main_loop_new(nullptr, FALSE);
    const std::jthread ender([&] {
        int signal = 0;
        sigwait(&ending, &signal);
        // On the loop itself: it may not run yet.
        g_idle_add_once([](void* running) { g_main_loop_quit(static_cast<GMainLoop*>(running)); }, loop);
    });
    std::cout << tq::writtenJSON(boost::json::object{ { "event", "ready" }, { "host", server.host() },
        { "navigation", "https://" + server.host() + "/whiteboard/config.json" },
        { "ca", certificate.authorityFile().string() } })
              << std::endl;
    g_main_loop_run(loop);
}

} // namespace

int main(int count, char** arguments)
{
    // Standard output carries the ready line and nothing else.
    g_log_writer_default_set_use_stderr(TRUE);
    try {
        const auto options = Options::parse(count, arguments);
        if (options.action == Options::Action::Help)
            std::cout << Options::help();
        else if (options.action == Options::Action::Version)
            std::cout << "tqwhiteboard-conference " TQWB_VERSION "\n";
        else
            serve(options);
        return 0;
    } catch (const UsageError& error) {
        std::cerr << "tqwhiteboard-conference: " << error.what() << '\n' << Options::usage();
        return 2;
    } catch (const std::exception& error) {
        std::cerr << "tqwhiteboard-conference: " << error.what() << std::endl;
        return 1;
    }
}
