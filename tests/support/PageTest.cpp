#include "PageTest.h"

#include <boost/json/serialize.hpp>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string_view>

namespace tq::test {

const NSClass& Reports::staticClass()
{
    static const NSClass table("Reports", &NSObject::staticClass(), { { "report:", &Reports::report } });
    return table;
}

OptionalValue Reports::report(OptionalValue value)
{
    values.push_back(std::move(value));
    return std::nullopt;
}

std::string dataAddress(const std::string& type, const std::string& content)
{
    std::string address = "data:" + type + ";charset=utf-8,";
    for (const char character : content) {
        constexpr std::string_view kDigits = "0123456789ABCDEF";
        const auto byte = static_cast<std::uint8_t>(character);
        if (byte < 0x80 && std::isalnum(byte))
            address += character;
        else
            (address += '%') += { kDigits[byte >> 4U], kDigits[byte & 0xFU] };
    }
    return address;
}

std::string pageWith(const std::string& html)
{
    return dataAddress("text/html", "<!doctype html><meta charset=utf-8>" + html);
}

void PageTest::TearDown()
{
    view.reset();
    runUntil([this] { return m_watched.expired(); }, "the view is destroyed");
}

void PageTest::use(std::shared_ptr<DWKWebView> newView)
{
    if (!newView) {
        std::cerr << "these tests need a display\n";
        std::exit(1);
    }
    view = std::move(newView);
    m_watched = view;
    view->addJavascriptObject(reports, "test");
}

void PageTest::load(const std::string& html)
{
    const auto count = reports->values.size();
    view->loadUrl(pageWith(html
        + "<script>function report(v) { prompt('_dsbridge=test.report', JSON.stringify({data: v})); }"
          "report('loaded');</script>"));
    waitForReports(count + 1);
}

void PageTest::waitForReports(std::size_t count)
{
    runUntil(
        [&] { return reports->values.size() >= count; }, "the page has reported " + std::to_string(count) + " times");
}

OptionalValue PageTest::ask(const std::string& expression)
{
    const auto count = reports->values.size();
    view->evaluateJavaScript("report(" + expression + ")");
    waitForReports(count + 1);
    return reports->values.size() > count ? reports->values.back() : std::nullopt;
}

OptionalValue PageTest::call(const std::string& method, const std::string& message)
{
    return ask("prompt(" + boost::json::serialize(boost::json::string("_dsbridge=" + method)) + ", "
        + boost::json::serialize(boost::json::string(message)) + ")");
}

} // namespace tq::test
