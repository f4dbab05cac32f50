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
    tq::TQWBRoom room;
    auto* window = gtk_window_new();
    gtk_window_set_default_size(GTK_WINDOW(window), 1280, 720);
    gtk_window_set_child(GTK_WINDOW(window), tq::nativeView(*room.view()));
    gtk_window_present(GTK_WINDOW(window));

    room.setStateHandler([](tq::TQWBRoomState state, const tq::TQWBError* reason) {
        std::cout << nameOf(state);
        if (reason)
            std::cout << ": " << nameOf(reason->category) << ": " << reason->text;
        std::cout << std::endl;
    });
    const std::string token = argc > 1 ? argv[1] : "";
    room.enter({ .appKey = "demo", .token = token, .roomId = "demo", .userId = "zoe", .userName = "Zoe" });

    while (g_list_model_get_n_items(gtk_window_get_toplevels()))
        g_main_context_iteration(nullptr, TRUE);
}
