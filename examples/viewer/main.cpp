#include <TQWhiteBoardLib/TQWhiteBoardLib.h>
#include <TQWhiteBoardLib/gtk/NativeView.h>
#include <fstream>
#include <gtk/gtk.h>
#include <iostream>

int main(int argc, char** argv) // viewer TOKEN [CERTIFICATES]
{
    if (argc > 2) // a service with certificates of its own
        tq::NSURLSessionConfiguration::defaultSessionConfiguration().setExtraTrustAnchors(
            std::string(std::istreambuf_iterator<char>(std::ifstream(argv[2]).rdbuf()), {}));
    gtk_init();
    auto view = tq::TQWBWebView::initWithFrame({ 0, 0, 1280, 720 }, nullptr);
    auto* window = gtk_window_new();
    gtk_window_set_default_size(GTK_WINDOW(window), 1280, 720);
    gtk_window_set_child(GTK_WINDOW(window), tq::nativeView(*view));
    gtk_window_present(GTK_WINDOW(window));

    const std::string token = argc > 1 ? argv[1] : "";
    tq::TQWBRoomConfig room{ .appKey = "demo", .token = token, .roomId = "demo", .userId = "zoe", .userName = "Zoe" };
    tq::TQWhiteBoard::initWithWebView(view)->joinWithConfig(
        std::make_shared<tq::TQWBRoomConfig>(room), [] { std::cout << "joined" << std::endl; },
        [](auto code, const auto& text) { std::cerr << code << ": " << text.value_or("") << std::endl; });

    while (g_list_model_get_n_items(gtk_window_get_toplevels()))
        g_main_context_iteration(nullptr, TRUE);
}
