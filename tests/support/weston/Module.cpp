// A module for weston 10: a seat with a mouse, a keyboard and a touch screen that are moved by the lines of a socket,
// whose path is in TQWB_SCREEN. Each is a packet, answered by one, "ok ..." or "error ..."; ScreenWeston.cpp sends
// them.
//
//     move X Y                       the mouse
//     button 1|0                     its left button, down or up
//     key CODE 1|0                   a key by its number of linux/input-event-codes.h
//     touch down|move ID X Y         a finger
//     touch up ID
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
#include <unistd.h>

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

timespec now()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time;
}

class Screen {
public:
    Screen(weston_compositor* compositor, const char* path);

private:
    void makeSeat();
    void listenAt(const std::string& path);
    static int accept(int socket, std::uint32_t mask, void* self);
    static int receive(int socket, std::uint32_t mask, void* self);
    std::string obey(const std::string& line);
    void move(std::istream& words);
    void press(std::istream& words);
    void key(std::istream& words);
    void touch(std::istream& words);
    std::string describeWindow(std::istream& words) const;

    weston_compositor* m_compositor;
    weston_seat m_seat{};
    weston_touch_device* m_touch = nullptr;
    // The tests that are connected, by their sockets.
    std::map<int, wl_event_source*> m_tests;
};

Screen::Screen(weston_compositor* compositor, const char* path)
    : m_compositor(compositor)
{
    makeSeat();
    listenAt(path);
}

void Screen::makeSeat()
{
    weston_seat_init(&m_seat, m_compositor, "test");
    weston_seat_init_pointer(&m_seat);
    weston_seat_init_touch(&m_seat);
    if (weston_seat_init_keyboard(&m_seat, nullptr) < 0)
        throw std::runtime_error("no keyboard can be made");
    m_touch = weston_touch_create_touch_device(weston_seat_get_touch(&m_seat), "test-screen", nullptr, nullptr);
    if (!m_touch)
        throw std::runtime_error("no touch screen can be made");
}

void Screen::listenAt(const std::string& path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof(address.sun_path))
        throw std::runtime_error("the socket's path is too long");
    path.copy(address.sun_path, path.size());
    const int socket = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    if (socket < 0 || bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof(address)) || listen(socket, 4))
        throw std::runtime_error("no socket at " + path + ": " + std::strerror(errno));
    wl_event_loop_add_fd(wl_display_get_event_loop(m_compositor->wl_display), socket, WL_EVENT_READABLE, accept, this);
}

int Screen::accept(int socket, std::uint32_t, void* self)
{
    auto& screen = *static_cast<Screen*>(self);
    const int test = accept4(socket, nullptr, nullptr, SOCK_CLOEXEC);
    if (test >= 0) {
        auto* loop = wl_display_get_event_loop(screen.m_compositor->wl_display);
        screen.m_tests[test] = wl_event_loop_add_fd(loop, test, WL_EVENT_READABLE, receive, self);
    }
    return 0;
}

int Screen::receive(int socket, std::uint32_t, void* self)
{
    auto& screen = *static_cast<Screen*>(self);
    std::array<char, 4096> buffer{};
    const auto count = read(socket, buffer.data(), buffer.size());
    if (count > 0) {
        const auto answer = screen.obey({ buffer.data(), static_cast<std::size_t>(count) });
        send(socket, answer.data(), answer.size(), MSG_NOSIGNAL);
    } else {
        wl_event_source_remove(screen.m_tests.extract(socket).mapped());
        close(socket);
    }
    return 0;
}

std::string Screen::obey(const std::string& line)
{
    std::istringstream words(line);
    words.exceptions(std::ios::failbit);
    try {
        std::string verb;
        words >> verb;
        if (verb == "window")
            return "ok " + describeWindow(words);
        if (verb == "move")
            move(words);
        else if (verb == "button")
            press(words);
        else if (verb == "key")
            key(words);
        else if (verb == "touch")
            touch(words);
        else
            return "error: no such command: " + line;
        return "ok";
    } catch (const std::exception& failure) {
        return "error: \"" + line + "\": " + failure.what();
    }
}

void Screen::move(std::istream& words)
{
    double x = 0;
    double y = 0;
    words >> x >> y;
    const auto time = now();
    notify_motion_absolute(&m_seat, &time, x, y);
    notify_pointer_frame(&m_seat);
}

void Screen::press(std::istream& words)
{
    bool isDown = false;
    words >> isDown;
    const auto time = now();
    notify_button(
        &m_seat, &time, kLeftButton, isDown ? WL_POINTER_BUTTON_STATE_PRESSED : WL_POINTER_BUTTON_STATE_RELEASED);
    notify_pointer_frame(&m_seat);
}

void Screen::key(std::istream& words)
{
    std::uint32_t code = 0;
    bool isDown = false;
    words >> code >> isDown;
    const auto time = now();
    notify_key(&m_seat, &time, code, isDown ? WL_KEYBOARD_KEY_STATE_PRESSED : WL_KEYBOARD_KEY_STATE_RELEASED,
        STATE_UPDATE_AUTOMATIC);
}

void Screen::touch(std::istream& words)
{
    std::string action;
    int id = 0;
    double x = 0;
    double y = 0;
    words >> action >> id;
    if (action != "up")
        words >> x >> y;
    const std::map<std::string, int> types{ { "down", WL_TOUCH_DOWN }, { "move", WL_TOUCH_MOTION },
        { "up", WL_TOUCH_UP } };
    const int type = types.at(action);
    const auto time = now();
    notify_touch_normalized(m_touch, &time, id, x, y, nullptr, type);
    notify_touch_frame(m_touch);
}

// The topmost window whose title is the rest of the line.
std::string Screen::describeWindow(std::istream& words) const
{
    std::string title;
    std::getline(words >> std::ws, title);
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
