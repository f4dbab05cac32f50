#include "Screen.h"

#include <cmath>
#include <cstdio>
#include <gtest/gtest.h>
#include <map>
#include <sstream>

namespace tq::test {

namespace {

// What xdotool prints; absent when it fails.
std::optional<std::string> outputOf(const std::string& words)
{
    auto* pipe = popen(("xdotool " + words + " 2>/dev/null").c_str(), "r");
    std::string output;
    for (int letter = getc(pipe); letter != EOF; letter = getc(pipe))
        output += static_cast<char>(letter);
    return pclose(pipe) == 0 ? std::optional(output) : std::nullopt;
}

void run(const std::string& words) { EXPECT_TRUE(outputOf(words)) << words << " failed"; }

std::string pixels(double length) { return " " + std::to_string(std::lround(length)); }

std::string searchFor(const std::string& title) { return "search --onlyvisible --name '^" + title + "$' "; }

class ScreenX11 final : public Screen {
public:
    std::optional<Window> window(const std::string& title) override
    {
        const auto output = outputOf(searchFor(title) + "getwindowgeometry --shell");
        if (!output)
            return std::nullopt;
        std::map<std::string, double> values;
        std::istringstream lines(*output);
        for (std::string name, value; std::getline(lines, name, '=') && std::getline(lines, value);)
            values[name] = std::stod(value);
        // Without a compositing manager there is no shadow.
        const Point place{ values["X"], values["Y"] };
        return Window{ place, place, values["WIDTH"], values["HEIGHT"] };
    }
    void focus(const std::string& title) override { run(searchFor(title) + "windowfocus --sync"); }
    void move(Point place) override { run("mousemove" + pixels(place.x) + pixels(place.y)); }
    void press() override { run("mousedown 1"); }
    void release() override { run("mouseup 1"); }
    void key(const std::string& name) override { run("key --window 0 " + name); }
};

} // namespace

std::unique_ptr<Screen> screenX11() { return std::make_unique<ScreenX11>(); }

} // namespace tq::test
