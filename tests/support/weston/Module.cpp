// A module for weston 10: a seat with a mouse, a keyboard and a touch screen that are moved by the packets that come to
// a socket, whose path is in TQWB_SCREEN. Each is answered by one, "ok ..." or "error ..."; ScreenWeston.cpp sends
// them.
//
//     move X Y                       the mouse
//     button 1|0                     its left button, down or up
//     key CODE 1|0                   a key by its number of linux/input-event-codes.h
//     down|slide ID X Y              a finger
//     up ID
//     window TITLE                   where the topmost window of that title is: the corners of its drawing surface and
//                                    of what is seen of it, and its size

#include <libweston-desktop/libweston-desktop.h>
#include <libweston/libweston.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>

// What weston keeps for its own back ends: exported, but declared in no header that is installed.
extern "C" {
void weston_seat_init(weston_seat* seat, weston_compositor* compositor, const char* name);
int weston_seat_init_pointer(weston_seat* seat);
int weston_seat_init_keyboard(weston_seat* seat, xkb_keymap* keymap);
int weston_seat_init_touch(weston_seat* seat);
weston_touch_device* weston_touch_create_touch_device(
    weston_touch* touch, const char* path, void* data, const weston_touch_device_ops* operations);
void notify_motion_absolute(weston_seat* seat, const timespec* time, double x, double y);
void notify_button(weston_seat* seat, const timespec* time, std::int32_t button, wl_pointer_button_state state);
void notify_pointer_frame(weston_seat* seat);
void notify_key(weston_seat* seat, const timespec* time, std::uint32_t key, wl_keyboard_key_state state,
    weston_key_state_update update);
void notify_touch_normalized(weston_touch_device* device, const timespec* time, int id, double x, double y,
    const weston_point2d_device_normalized* normalized, int type);
void notify_touch_frame(weston_touch_device* device);
}

namespace {

constexpr std::int32_t kLeftButton = 0x110;

class Screen {
public:
    Screen(weston_compositor* compositor, const char* path)
        : m_compositor(compositor)
    {
        makeSeat();
        listenAt(path);
    }

private:
    void makeSeat();
    void listenAt(const std::string& path);
    static int receive(int socket, std::uint32_t mask, void* self);
    std::string obey(std::istringstream words);
    std::string describeWindow(const std::string& title) const;

    weston_compositor* m_compositor;
    weston_seat m_seat{};
    weston_touch_device* m_touch = nullptr;
};

void Screen::makeSeat()
{
    weston_seat_init(&m_seat, m_compositor, "test");
    weston_seat_init_pointer(&m_seat);
    weston_seat_init_touch(&m_seat);
    weston_seat_init_keyboard(&m_seat, nullptr);
    m_touch = weston_touch_create_touch_device(weston_seat_get_touch(&m_seat), "test-screen", nullptr, nullptr);
}

void Screen::listenAt(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    const int socket = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (socket < 0 || bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof(address)))
        throw std::runtime_error("no socket at " + path + ": " + std::strerror(errno));
    wl_event_loop_add_fd(wl_display_get_event_loop(m_compositor->wl_display), socket, WL_EVENT_READABLE, receive, this);
}

int Screen::receive(int socket, std::uint32_t, void* self)
{
    std::array<char, 4096> buffer{};
    sockaddr_un sender{};
    socklen_t length = sizeof sender;
    const auto count = recvfrom(socket, buffer.data(), buffer.size(), 0, reinterpret_cast<sockaddr*>(&sender), &length);
    if (count < 0)
        return 0;
    const std::string line(buffer.data(), static_cast<std::size_t>(count));
    std::string answer;
    try {
        answer = "ok " + static_cast<Screen*>(self)->obey(std::istringstream(line));
    } catch (const std::exception& failure) {
        answer = "error: \"" + line + "\": " + failure.what();
    }
    sendto(socket, answer.data(), answer.size(), 0, reinterpret_cast<sockaddr*>(&sender), length);
    return 0;
}

// What there is to say to that.
std::string Screen::obey(std::istringstream words)
{
    words.exceptions(std::ios::failbit);
    std::string verb;
    words >> verb;
    if (verb == "window") {
        std::string title;
        std::getline(words >> std::ws, title);
        return describeWindow(title);
    }
    double x = 0;
    double y = 0;
    std::uint32_t number = 0;
    unsigned isDown = 0;
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    if (verb == "move") {
        words >> x >> y;
        notify_motion_absolute(&m_seat, &time, x, y);
        notify_pointer_frame(&m_seat);
    } else if (verb == "button") {
        words >> isDown;
        notify_button(&m_seat, &time, kLeftButton, static_cast<wl_pointer_button_state>(isDown));
        notify_pointer_frame(&m_seat);
    } else if (verb == "key") {
        words >> number >> isDown;
        notify_key(&m_seat, &time, number, static_cast<wl_keyboard_key_state>(isDown), STATE_UPDATE_AUTOMATIC);
    } else {
        const std::map<std::string, int> types{ { "down", WL_TOUCH_DOWN }, { "slide", WL_TOUCH_MOTION },
            { "up", WL_TOUCH_UP } };
        const int type = types.at(verb);
        words >> number;
        if (type != WL_TOUCH_UP)
            words >> x >> y;
        notify_touch_normalized(m_touch, &time, static_cast<int>(number), x, y, nullptr, type);
        notify_touch_frame(m_touch);
    }
    return {};
}

std::string Screen::describeWindow(const std::string& title) const
{
    weston_view* view = nullptr;
    wl_list_for_each(view, &m_compositor->view_list, link)
    {
        auto* window = weston_surface_get_desktop_surface(view->surface);
        const char* shown = window ? weston_desktop_surface_get_title(window) : nullptr;
        if (!shown || title != shown || !weston_view_is_mapped(view))
            continue;
        const auto visible = weston_desktop_surface_get_geometry(window);
        const auto x = static_cast<int>(view->geometry.x);
        const auto y = static_cast<int>(view->geometry.y);
        std::ostringstream text;
        text << x << ' ' << y << ' ' << x + visible.x << ' ' << y + visible.y << ' ' << visible.width << ' '
             << visible.height;
        return text.str();
    }
    throw std::runtime_error("there is no such window");
}

} // namespace

extern "C" __attribute__((visibility("default"))) int wet_module_init(
    weston_compositor* compositor, int* /*argc*/, char** /*argv*/)
{
    const char* path = std::getenv("TQWB_SCREEN");
    if (!path) {
        weston_log("TQWB_SCREEN names no socket\n");
        return -1;
    }
    try {
        // It lives as long as weston.
        static_cast<void>(new Screen(compositor, path));
        return 0;
    } catch (const std::exception& failure) {
        weston_log("%s\n", failure.what());
        return -1;
    }
}
