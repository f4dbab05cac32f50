#pragma once

#include "PageTest.h"
#include "TQWhiteBoardLib/gtk/NativeView.h"

#include <boost/json/serialize.hpp>
#include <gtk/gtk.h>

namespace tq::test {

/// Shows the view in a window on the screen.
class PageWindowTest : public PageTest {
protected:
    void SetUp() override
    {
        PageTest::SetUp();
        use(DWKWebView::initWithFrame({ 0, 0, 400, 300 }, nullptr));
        m_window = GTK_WINDOW(gtk_window_new());
        gtk_window_set_default_size(m_window, 500, 400);
        gtk_window_set_child(m_window, nativeView(*view));
        gtk_window_present(m_window);
    }
    void TearDown() override
    {
        PageTest::TearDown();
        if (m_window)
            gtk_window_destroy(m_window);
    }
    /// Waits for the report of that number; its JSON text.
    std::string answerFrom(std::size_t report)
    {
        waitForReports(report + 1);
        return reports->values.size() > report && reports->values[report]
            ? boost::json::serialize(*reports->values[report])
            : "nothing";
    }

    GtkWindow* m_window = nullptr;
};

} // namespace tq::test
