#pragma once

#include "TQWhiteBoardLib/DWKWebView.h"
#include "Toolkit.h"

#include <functional>
#include <memory>
#include <string>

namespace tq::bench {

/// Runs the main loop until the condition holds; ends the program with a message after two minutes.
void runUntil(const std::function<bool()>& condition, const std::string& what);

/// An address of a page with that script, in a file that goes with the program: every call carries its page's address,
/// which would be long if it were the page itself.
/// @param type of the script.
std::string pageWith(const std::string& script, const std::string& type = "text/javascript");

/// How long it takes, from its beginning on, until a page has said once more that it is done.
/// @param done how often pages have said so.
Seconds timeUntilDone(const int& done, const std::function<void()>& begin);

/// A text as a part of an address.
std::string escapedAsInAddresses(const std::string& text);

/// A native object that a page tells when it is done, by its method "done".
class DoneListener final : public NSObject {
public:
    static const NSClass& staticClass();
    const NSClass& objectClass() const override { return staticClass(); }

    OptionalValue done(OptionalValue)
    {
        isDone = true;
        return std::nullopt;
    }
    bool isDone = false;
};

/// The library's view, in a window of its own like the bare one.
class BridgePage {
public:
    BridgePage();
    ~BridgePage();
    BridgePage(const BridgePage&) = delete;
    BridgePage& operator=(const BridgePage&) = delete;

    DWKWebView& view() const { return *m_view; }

private:
    std::shared_ptr<DWKWebView> m_view;
    void* m_window;
};

} // namespace tq::bench
