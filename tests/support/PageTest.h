#pragma once

#include "Log.h"
#include "MainLoop.h"
#include "TQWhiteBoardLib/DWKWebView.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace tq::test {

/// What a page tells a test, through the bridge itself.
class Reports final : public NSObject {
public:
    static const NSClass& staticClass();
    const NSClass& objectClass() const override { return staticClass(); }

    OptionalValue report(OptionalValue value);

    std::vector<OptionalValue> values;
};

/// Tells on which thread it was destroyed, which is that of the registry that held it.
inline std::shared_ptr<NSObject> witness(std::thread::id& destroyedOn)
{
    return { new NSObject, [&](NSObject* object) {
                destroyedOn = std::this_thread::get_id();
                delete object;
            } };
}

/// An address that is its own content.
std::string dataAddress(const std::string& type, const std::string& content);

/// An address of a page with that content.
std::string pageWith(const std::string& html);

/// Shows pages in a view with the real engine, and asks them things. The view must be gone at the end of the test.
class PageTest : public testing::Test {
protected:
    void SetUp() override { clearLog(); }
    void TearDown() override;

    /// Puts the view to the test: registers the reports and remembers to see it destroyed.
    /// A program without a display has nothing to test: it ends.
    void use(std::shared_ptr<DWKWebView> newView);
    /// Loads the page and waits until its script has run.
    void load(const std::string& html = "");
    /// Evaluates an expression in the page and returns its value; absent for undefined and null.
    OptionalValue ask(const std::string& expression);
    /// The text that the page gets back for a call; absent for null.
    OptionalValue call(const std::string& method, const std::string& message);
    void waitForReports(std::size_t count);

    std::shared_ptr<DWKWebView> view;
    std::shared_ptr<Reports> reports = std::make_shared<Reports>();

private:
    std::weak_ptr<DWKWebView> m_watched;
};

} // namespace tq::test
