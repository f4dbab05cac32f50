// A conversation. The page asks for something that takes time, and shows how far it has got; then the application asks
// the page what it shows. Both speak in types: what cannot be one is an error with a text, on either side.
//
// usage: conversation [declarations]        declarations: writes what the page can call, for TypeScript

#include <TQWhiteBoardLib/TQWhiteBoardLib.h>
#include <TQWhiteBoardLib/gtk/NativeView.h>
#include <boost/describe.hpp>
#include <filesystem>
#include <gtk/gtk.h>
#include <iostream>
#include <string_view>
#include <thread>

struct Progress {
    int percent = 0;
    int found = 0;
};
BOOST_DESCRIBE_STRUCT(Progress, (), (percent, found))

struct Shown {
    int limit = 0;
    int found = 0;
};
BOOST_DESCRIBE_STRUCT(Shown, (), (limit, found))

static bool isPrime(int number)
{
    for (int divisor = 2; divisor <= number / divisor; ++divisor)
        if (number % divisor == 0)
            return false;
    return number > 1;
}

static void countPrimes(const std::stop_token& stop, int limit, const tq::Stream<Progress>& progress)
{
    Progress now;
    for (int number = 0; number < limit && !stop.stop_requested(); ++number) {
        if (const auto percent = static_cast<int>(number * 100LL / limit); percent > now.percent) {
            now.percent = percent;
            progress.send(now);
        }
        now.found += isPrime(number + 1);
    }
    now.percent = stop.stop_requested() ? now.percent : 100;
    progress.finish(now);
}

int main(int argc, char** argv)
{
    std::shared_ptr<tq::DWKWebView> view;
    std::jthread worker;
    const auto count = [&worker](int limit, tq::Stream<Progress> progress) {
        worker = std::jthread([=](const std::stop_token& stop) { countPrimes(stop, limit, progress); });
    };
    const auto askPage = [&view] {
        view->callHandler<Shown>("page.shown", [](const tq::Answer<Shown>& shown) {
            if (shown)
                std::cout << shown.value->found << " primes up to " << shown.value->limit << std::endl;
            else
                std::cerr << shown.error << std::endl;
        });
    };
    const auto primes = tq::nativeFunctions(
        { { "count::", count }, { "stop:", [&worker] { worker.request_stop(); } }, { "counted:", askPage } });
    if (argc > 1 && argv[1] == std::string_view("declarations")) {
        std::cout << tq::declarationOf(*primes, "Primes");
        return 0;
    }

    gtk_init();
    // The page and its script are files, which may read each other.
    auto configuration = std::make_shared<tq::WKWebViewConfiguration>();
    configuration->preferences->allowFileAccessFromFileURLs = true;
    view = tq::DWKWebView::initWithFrame({ 0, 0, 640, 260 }, configuration);
    view->addJavascriptObject(primes, "primes");
    auto* window = gtk_window_new();
    gtk_window_set_default_size(GTK_WINDOW(window), 640, 260);
    gtk_window_set_child(GTK_WINDOW(window), tq::nativeView(*view));
    gtk_window_present(GTK_WINDOW(window));
    const auto page = std::filesystem::absolute(argv[0]).parent_path() / "conversation-page" / "page.html";
    char* address = g_filename_to_uri(page.c_str(), nullptr, nullptr);
    view->loadUrl(address);
    g_free(address);
    while (g_list_model_get_n_items(gtk_window_get_toplevels()))
        g_main_context_iteration(nullptr, TRUE);
}
