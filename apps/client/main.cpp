#include "Client.h"
#include "JsonLines.h"
#include "Options.h"
#include "TQWhiteBoardLib/TQWhiteBoard.h"
#include "Translation.h"
#include "platform/Foundation/NSURLSessionConfiguration.h"

#include <adwaita.h>
#include <clocale>
#include <csignal>
#include <string_view>
#include <vector>
#include <webkit/webkit.h>

namespace {

using namespace tqclient;

constexpr int kSuccess = 0;
constexpr int kFailure = 1;
constexpr int kUsage = 2;

int refuse(const std::string& message)
{
    g_printerr("tqwhiteboard: %s\n%s\n", message.c_str(), std::string(Options::usage()).c_str());
    return kUsage;
}

int answer(const std::string& text)
{
    g_print("%s", text.c_str());
    return kSuccess;
}

/// Trusts the certificates of the file; answers what is wrong with it, empty for nothing.
std::string trustCertificates(const std::string& path)
{
    char* text = nullptr;
    gsize size = 0;
    GError* failure = nullptr;
    if (!g_file_get_contents(path.c_str(), &text, &size, &failure))
        return UniqueError(failure)->message;
    UniqueChars owned(text);
    auto& configuration = tq::NSURLSessionConfiguration::defaultSessionConfiguration();
    if (!configuration.setExtraTrustAnchors(std::string(text, size)))
        return "\"" + path + "\" holds no usable certificate (PEM)";
    return {};
}

/// The program's own few rules of style and its icon, wherever it was built or installed to.
void useResources()
{
    GdkDisplay* display = gdk_display_get_default();
    UniqueObject<GtkCssProvider> style(gtk_css_provider_new());
    gtk_css_provider_load_from_resource(style.get(), "/tqwhiteboard/style.css");
    gtk_style_context_add_provider_for_display(
        display, GTK_STYLE_PROVIDER(style.get()), GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
    gtk_icon_theme_add_resource_path(gtk_icon_theme_get_for_display(display), "/tqwhiteboard/icons");
}

int runClient(const Options& options)
{
    // A reader that goes away, or a terminal that belongs to another job, must not end or stop the program.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGTTIN, SIG_IGN);
    auto lines = std::make_shared<JsonLines>();
    g_set_prgname("tqwhiteboard");
    g_set_application_name(_("Whiteboard"));
    if (!gtk_init_check()) {
        g_printerr("tqwhiteboard: no display to show a window on\n");
        return kFailure;
    }
    adw_init();
    useResources();
    // The engine does not ask the system which languages its user reads.
    webkit_web_context_set_preferred_languages(webkit_web_context_get_default(), g_get_language_names());
    Client(options, lines).run();
    return kSuccess;
}

} // namespace

int main(int argc, char** argv)
{
    std::setlocale(LC_ALL, "");
    installTranslations();
    std::vector<std::string_view> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    auto parsed = Options::parse(arguments);
    if (const auto* error = std::get_if<UsageError>(&parsed))
        return refuse(error->message);
    const auto& options = std::get<Options>(parsed);
    if (options.command == StartCommand::Help)
        return answer(Options::help());
    if (options.command == StartCommand::Version)
        return answer("tqwhiteboard " + tq::TQWhiteBoard::getVersion() + "\n");
    if (options.caFile) {
        if (auto failure = trustCertificates(*options.caFile); !failure.empty())
            return refuse("--ca: " + failure);
    }
    return runClient(options);
}
