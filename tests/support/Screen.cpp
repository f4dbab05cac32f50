#include "Screen.h"

#include <cstdlib>
#include <string_view>

namespace tq::test {

Screen* Screen::get()
{
    static const std::unique_ptr<Screen> s_screen = []() -> std::unique_ptr<Screen> {
        const char* backend = getenv("GDK_BACKEND");
        if (!backend || backend != std::string_view("wayland"))
            return screenX11();
        const char* socket = getenv("TQWB_SCREEN");
        return socket ? screenWeston(socket) : nullptr;
    }();
    return s_screen.get();
}

void Screen::click(Point place)
{
    move(place);
    press();
    release();
}

void Screen::tap(Point place)
{
    touch(0, place);
    lift(0);
}

} // namespace tq::test
