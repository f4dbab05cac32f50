// Joins a room and ends when the room's page can be called.
//
// usage: consumer TOKEN CERTIFICATES

#include <TQWhiteBoardLib/TQWhiteBoardLib.h>
#include <TQWhiteBoardLib/gtk/NativeView.h>
#include <fstream>
#include <gtk/gtk.h>
#include <iostream>
#include <iterator>

namespace {

// What users derive from must be whole in the library, down to the types' own records.
class RoomStatus final : public tq::TQWBRoomStatusProtocol, public tq::WKNavigationDelegate {
public:
    void onWBRoomException(const tq::TQWBException& exception) override { std::cerr << exception.code << '\n'; }
    void webViewWebContentProcessDidTerminate(tq::WKWebView& view) override
    {
        std::cerr << "the page is gone: " << view.URL().value_or("no page") << '\n';
    }
};

class Echo final : public tq::NSObject {
public:
    const tq::NSClass& objectClass() const override
    {
        static const tq::NSClass table("Echo", &tq::NSObject::staticClass(), { { "echo:", &Echo::echo } });
        return table;
    }
    tq::OptionalValue echo(tq::OptionalValue argument) { return argument; }
};

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3)
        return 2;
    std::ifstream certificates(argv[2]);
    auto& configuration = tq::NSURLSessionConfiguration::defaultSessionConfiguration();
    if (!configuration.setExtraTrustAnchors(std::string(std::istreambuf_iterator<char>(certificates), {})))
        return 2;

    gtk_init();
    const auto view = tq::TQWBWebView::initWithFrame({ 0, 0, 640, 480 }, nullptr);
    auto* window = gtk_window_new();
    gtk_window_set_child(GTK_WINDOW(window), tq::nativeView(*view));
    gtk_window_present(GTK_WINDOW(window));
    const auto status = std::make_shared<RoomStatus>();
    view->setRoomStatusDelegate(status);
    view->setNavigationDelegate(status);
    view->addJavascriptObject(std::make_shared<Echo>(), "consumer");
    const std::shared_ptr<tq::NSObject> object = view;
    if (std::dynamic_pointer_cast<tq::UIAlertViewDelegate>(object) != view)
        return 3;

    static GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
    static bool hasBoard = false;
    tq::TQWBRoomConfig room{ .appKey = "demo", .token = argv[1], .roomId = "demo", .userId = "zoe", .userName = "Zoe" };
    const auto whiteboard = tq::TQWhiteBoard::initWithWebView(view);
    whiteboard->joinWithConfig(
        std::make_shared<tq::TQWBRoomConfig>(room), [] { std::cout << "joined" << std::endl; },
        [](auto code, const auto& text) {
            std::cerr << code << ": " << text.value_or("") << std::endl;
            g_main_loop_quit(loop);
        });
    view->hasJavascriptMethod("board.draw", [](bool exists) {
        hasBoard = exists;
        g_main_loop_quit(loop);
    });
    g_main_loop_run(loop);
    return hasBoard ? 0 : 1;
}
