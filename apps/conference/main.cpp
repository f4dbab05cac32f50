#include "Certificate.h"
#include "Conference.h"
#include "Options.h"
#include "RecordingStore.h"
#include "Server.h"
#include "StateFile.h"
#include "TokenRule.h"
#include "platform/Foundation/JSONWriter.h"

#include <boost/json.hpp>
#include <glib-unix.h>

#include <csignal>
#include <ctime>
#include <filesystem>
#include <iostream>
#include <memory>

namespace {

using namespace tq::conference;

int serve(const Options& options)
{
    const auto directory = std::filesystem::absolute(options.stateDirectory).lexically_normal();
    StateFile::ensureDirectory(directory);
    const auto certificate = Certificate::ensure(directory, std::time(nullptr));
    const TokenRule tokens(options.tokens);
    Conference conference(options.roomSize, RecordingStore(directory / "recordings"));
    const Server server(conference, tokens, certificate, options.port);

    const std::unique_ptr<GMainLoop, decltype(&g_main_loop_unref)> loop(
        g_main_loop_new(nullptr, FALSE), g_main_loop_unref);
    const auto stop = [](void* running) -> gboolean {
        g_main_loop_quit(static_cast<GMainLoop*>(running));
        return G_SOURCE_CONTINUE;
    };
    g_unix_signal_add(SIGTERM, stop, loop.get());
    g_unix_signal_add(SIGINT, stop, loop.get());
    std::cout << tq::writtenJSON(boost::json::object{ { "event", "ready" }, { "host", server.host() },
        { "navigation", "https://" + server.host() + "/whiteboard/config.json" },
        { "ca", certificate.authorityFile().string() } })
              << std::endl;
    g_main_loop_run(loop.get());
    return 0;
}

} // namespace

int main(int count, char** arguments)
{
    // Standard output carries the ready line and nothing else.
    g_log_writer_default_set_use_stderr(TRUE);
    std::string fault;
    const auto options = Options::parse({ arguments + 1, arguments + count }, fault);
    if (!options) {
        std::cerr << "tqwhiteboard-conference: " << fault << '\n' << Options::usage();
        return 2;
    }
    try {
        return serve(*options);
    } catch (const std::exception& error) {
        std::cerr << "tqwhiteboard-conference: " << error.what() << std::endl;
        return 1;
    }
}
