#include "Screen.h"

#include <array>
#include <gtest/gtest.h>
#include <linux/input-event-codes.h>
#include <map>
#include <sstream>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>

namespace tq::test {

namespace {

constexpr timeval kBound{ 30, 0 };

std::string text(Screen::Point place) { return " " + std::to_string(place.x) + " " + std::to_string(place.y); }

class ScreenWeston final : public Screen {
public:
    explicit ScreenWeston(const std::string& path)
    {
        setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &kBound, sizeof kBound);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const auto* plain = reinterpret_cast<const sockaddr*>(&address);
        // Without a path the system chooses the address that answers come to.
        const bool isBound = bind(m_socket, plain, sizeof address.sun_family) == 0;
        path.copy(address.sun_path, sizeof(address.sun_path) - 1);
        if (!isBound || connect(m_socket, plain, sizeof address))
            throw std::runtime_error("nobody listens at " + path);
    }

    std::optional<Window> window(const std::string& title) override
    {
        const auto answer = ask("window " + title);
        if (!answer)
            return std::nullopt;
        Window window;
        std::istringstream(*answer) >> window.surface.x >> window.surface.y >> window.corner.x >> window.corner.y
            >> window.width >> window.height;
        return window;
    }
    void move(Point place) override { tell("move" + text(place)); }
    void press() override { tell("button 1"); }
    void release() override { tell("button 0"); }
    void key(const std::string& name) override
    {
        static const std::map<std::string, int> codes{ { "Return", KEY_ENTER }, { "Escape", KEY_ESC },
            { "Tab", KEY_TAB }, { "End", KEY_END }, { "a", KEY_A }, { "b", KEY_B } };
        const auto code = std::to_string(codes.at(name));
        tell("key " + code + " 1");
        tell("key " + code + " 0");
    }

    bool hasTouch() const override { return true; }
    void touch(int finger, Point place) override { tell("down " + std::to_string(finger) + text(place)); }
    void slide(int finger, Point place) override { tell("slide " + std::to_string(finger) + text(place)); }
    void lift(int finger) override { tell("up " + std::to_string(finger)); }

private:
    /// What follows "ok"; absent for a refusal.
    std::optional<std::string> ask(const std::string& command)
    {
        std::array<char, 4096> buffer{};
        send(m_socket, command.data(), command.size(), 0);
        const auto count = recv(m_socket, buffer.data(), buffer.size(), 0);
        if (count <= 0)
            throw std::runtime_error("weston does not answer");
        const std::string answer(buffer.data(), static_cast<std::size_t>(count));
        return answer.starts_with("ok") ? std::optional(answer.substr(2)) : std::nullopt;
    }
    void tell(const std::string& command) { EXPECT_TRUE(ask(command)) << command << " was refused"; }

    // Open as long as the process runs.
    const int m_socket = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
};

} // namespace

std::unique_ptr<Screen> screenWeston(const std::string& path) { return std::make_unique<ScreenWeston>(path); }

} // namespace tq::test
