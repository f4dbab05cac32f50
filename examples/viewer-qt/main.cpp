#include <QApplication>
#include <QMainWindow>
#include <TQWhiteBoardLib/TQWhiteBoardLib.h>
#include <TQWhiteBoardLib/qt/NativeView.h>
#include <fstream>
#include <iostream>

int main(int argc, char** argv) // viewer-qt TOKEN [CERTIFICATES]
{
    if (argc > 2) // a service with certificates of its own
        tq::NSURLSessionConfiguration::defaultSessionConfiguration().setExtraTrustAnchors(
            std::string(std::istreambuf_iterator<char>(std::ifstream(argv[2]).rdbuf()), {}));
    QApplication application(argc, argv);
    tq::TQWBRoom room;
    QMainWindow window;
    window.resize(1280, 720);
    window.setCentralWidget(tq::nativeView(*room.view()));
    window.show();

    room.setStateHandler([](tq::TQWBRoomState state, const tq::TQWBError* reason) {
        std::cout << nameOf(state);
        if (reason)
            std::cout << ": " << nameOf(reason->category) << ": " << reason->text;
        std::cout << std::endl;
    });
    const std::string token = argc > 1 ? argv[1] : "";
    room.enter({ .appKey = "demo", .token = token, .roomId = "demo", .userId = "quinn", .userName = "Quinn" });

    return application.exec();
}
