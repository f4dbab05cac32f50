#include "Pages.h"

#include <cstdlib>
#include <curl/curl.h>
#include <iostream>

namespace tq::bench {

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

std::string pageWith(const std::string& script)
{
    const auto page = "<!doctype html><meta charset=utf-8><script>" + script + "</script>";
    return "data:text/html;charset=utf-8," + escapedAsInAddresses(page);
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
