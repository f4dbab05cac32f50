#pragma once

#include "PageTest.h"
#include "TestWindow.h"

#include <boost/json/serialize.hpp>
#include <optional>

namespace tq::test {

/// Shows the view in a window on the screen.
class PageWindowTest : public PageTest {
protected:
    void SetUp() override
    {
        PageTest::SetUp();
        use(DWKWebView::initWithFrame({ 0, 0, 400, 300 }, nullptr));
        window.emplace(*view);
    }
    void TearDown() override
    {
        PageTest::TearDown();
        window.reset();
    }
    /// Waits for the report of that number; its JSON text.
    std::string answerFrom(std::size_t report)
    {
        waitForReports(report + 1);
        return reports->values.size() > report && reports->values[report]
            ? boost::json::serialize(*reports->values[report])
            : "nothing";
    }

    std::optional<TestWindow> window;
};

} // namespace tq::test
