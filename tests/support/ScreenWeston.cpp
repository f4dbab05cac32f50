#include "ScreenWeston.h"

#include <array>
#include <gtest/gtest.h>
#include <linux/input-event-codes.h>
#include <map>
#include <poll.h>
#include <sstream>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace tq::test {

namespace {

constexpr int kBoundMilliseconds = 30000;

std::string text(Screen::Point place) { return " " + std::to_string(place.x) + " " + std::to_string(place.y); }

} // namespace

ScreenWeston::ScreenWeston(const std::string& path)
    : m_socket(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0))
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof(address.sun_path) - 1);
    if (connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)))
        throw std::runtime_error("nobody listens at " + path);
}

ScreenWeston::~ScreenWeston() { close(m_socket); }

std::optional<std::string> ScreenWeston::ask(const std::string& command)
{
    send(m_socket, command.data(), command.size(), MSG_NOSIGNAL);
    pollfd one{ m_socket, POLLIN, 0 };
    std::array<char, 4096> buffer{};
    const auto count = poll(&one, 1, kBoundMilliseconds) == 1 ? read(m_socket, buffer.data(), buffer.size()) : 0;
    if (count <= 0)
        throw std::runtime_error("weston does not answer");
    const std::string answer(buffer.data(), static_cast<std::size_t>(count));
    return answer.starts_with("ok") ? std::optional(answer.substr(2)) : std::nullopt;
}

void ScreenWeston::tell(const std::string& command) { EXPECT_TRUE(ask(command)) << command << " was refused"; }

std::optional<Screen::Window> ScreenWeston::window(const std::string& title)
{
    const auto answer = ask("window " + title);
    if (!answer)
        return std::nullopt;
    Window window;
    std::istringstream(*answer) >> window.surface.x >> window.surface.y >> window.corner.x >> window.corner.y
        >> window.width >> window.height;
    return window;
}

void ScreenWeston::move(Point place) { tell("move" + text(place)); }
void ScreenWeston::press() { tell("button 1"); }
void ScreenWeston::release() { tell("button 0"); }

void ScreenWeston::key(const std::string& name)
{
    static const std::map<std::string, int> codes{ { "Return", KEY_ENTER }, { "Escape", KEY_ESC }, { "Tab", KEY_TAB },
        { "End", KEY_END }, { "a", KEY_A }, { "b", KEY_B } };
    const auto code = std::to_string(codes.at(name));
    tell("key " + code + " 1");
    tell("key " + code + " 0");
}

void ScreenWeston::touch(int finger, Point place) { tell("touch down " + std::to_string(finger) + text(place)); }
void ScreenWeston::slide(int finger, Point place) { tell("touch move " + std::to_string(finger) + text(place)); }
void ScreenWeston::lift(int finger) { tell("touch up " + std::to_string(finger)); }

} // namespace tq::test
