#include "Pages.h"

#include <cstdlib>
#include <curl/curl.h>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <unistd.h>

namespace tq::bench {

namespace {

class PageFolder {
public:
    PageFolder() { std::filesystem::create_directories(m_path); }
    ~PageFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    PageFolder(const PageFolder&) = delete;
    PageFolder& operator=(const PageFolder&) = delete;

    std::string add(const std::string& page)
    {
        const auto file = m_path / (std::to_string(m_pages++) + ".html");
        std::ofstream(file) << page;
        return "file://" + file.string();
    }

private:
    const std::filesystem::path m_path
        = std::filesystem::temp_directory_path() / ("tqwb-bench-" + std::to_string(getpid()));
    int m_pages = 0;
};

} // namespace

void runUntil(const std::function<bool()>& condition, const std::string& what)
{
    const auto deadline = Clock::now() + std::chrono::minutes(2);
    while (!condition()) {
        if (Clock::now() > deadline) {
            std::cerr << "bench: waited in vain until " << what << "\n";
            std::exit(1);
        }
        turnMainLoop();
    }
}

std::string pageWith(const std::string& script, const std::string& type)
{
    static PageFolder s_folder;
    return s_folder.add("<!doctype html><meta charset=utf-8><script type=\"" + type + "\">" + script + "</script>");
}

Seconds timeUntilDone(const int& done, const std::function<void()>& begin)
{
    const auto target = done + 1;
    const auto start = Clock::now();
    begin();
    runUntil([&] { return done == target; }, "the page is done");
    return Clock::now() - start;
}

std::string escapedAsInAddresses(const std::string& text)
{
    char* escaped = curl_easy_escape(nullptr, text.data(), static_cast<int>(text.size()));
    std::string result(escaped);
    curl_free(escaped);
    return result;
}

const NSClass& DoneListener::staticClass()
{
    static const NSClass table("DoneListener", &NSObject::staticClass(), { { "done:", &DoneListener::done } });
    return table;
}

BridgePage::BridgePage()
    : m_view(DWKWebView::initWithFrame({ 0, 0, 400, 300 }, nullptr))
    , m_window(showInWindow(m_view->nativeHandle()))
{
}

BridgePage::~BridgePage() { destroyWindow(m_window); }

} // namespace tq::bench
