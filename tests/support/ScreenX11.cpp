#include "ScreenX11.h"

#include <cmath>
#include <glib.h>
#include <gtest/gtest.h>
#include <map>
#include <sstream>

namespace tq::test {

namespace {

// What the program prints; absent when it fails.
std::optional<std::string> outputOf(std::vector<std::string> words)
{
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (auto& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    char* output = nullptr;
    int status = 0;
    GError* error = nullptr;
    const auto flags = GSpawnFlags(G_SPAWN_SEARCH_PATH | G_SPAWN_STDERR_TO_DEV_NULL);
    if (!g_spawn_sync(nullptr, pointers.data(), nullptr, flags, nullptr, nullptr, &output, nullptr, &status, &error)) {
        ADD_FAILURE() << error->message;
        g_error_free(error);
        return std::nullopt;
    }
    const std::string text = output;
    g_free(output);
    return status == 0 ? std::optional(text) : std::nullopt;
}

void run(std::vector<std::string> words)
{
    const std::string program = words[0] + " " + words[1];
    EXPECT_TRUE(outputOf(std::move(words))) << program << " failed";
}

std::string pixels(double length) { return std::to_string(std::lround(length)); }

std::vector<std::string> searchFor(const std::string& title)
{
    return { "xdotool", "search", "--onlyvisible", "--name", "^" + title + "$" };
}

} // namespace

std::optional<Screen::Window> ScreenX11::window(const std::string& title)
{
    auto words = searchFor(title);
    words.insert(words.end(), { "getwindowgeometry", "--shell" });
    const auto output = outputOf(std::move(words));
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

void ScreenX11::focus(const std::string& title)
{
    auto words = searchFor(title);
    words.insert(words.end(), { "windowfocus", "--sync" });
    run(std::move(words));
}

void ScreenX11::move(Point place) { run({ "xdotool", "mousemove", pixels(place.x), pixels(place.y) }); }
void ScreenX11::press() { run({ "xdotool", "mousedown", "1" }); }
void ScreenX11::release() { run({ "xdotool", "mouseup", "1" }); }
void ScreenX11::key(const std::string& name) { run({ "xdotool", "key", "--window", "0", name }); }

} // namespace tq::test
