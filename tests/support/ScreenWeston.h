#pragma once

#include "Screen.h"

namespace tq::test {

/// A Wayland screen: weston, with the module that Module.cpp tells of at the other end of a socket.
class ScreenWeston final : public Screen {
public:
    explicit ScreenWeston(const std::string& path);
    ~ScreenWeston() override;
    ScreenWeston(const ScreenWeston&) = delete;
    ScreenWeston& operator=(const ScreenWeston&) = delete;

    std::optional<Window> window(const std::string& title) override;
    void move(Point place) override;
    void press() override;
    void release() override;
    void key(const std::string& name) override;

    bool hasTouch() const override { return true; }
    void touch(int finger, Point place) override;
    void slide(int finger, Point place) override;
    void lift(int finger) override;

private:
    /// What follows "ok"; absent for a refusal.
    std::optional<std::string> ask(const std::string& command);
    void tell(const std::string& command);

    int m_socket;
};

} // namespace tq::test
