#pragma once

#include "platform/Foundation/NSClass.h"
#include "platform/Foundation/NSTypes.h"

#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace tq {

class DWKWebView;

/// The result of one asynchronous page call while it is being delivered, and the result of the call itself.
class AsyncResult {
public:
    /// @param callbackName the page's function that receives the results.
    AsyncResult(std::shared_ptr<DWKWebView> view, std::string callbackName);

    /// Takes one result and queues the script that carries it to the page. Any thread.
    void deliver(OptionalValue value, Complete complete);

    /// The result message as it stands.
    std::string message() const;

    /// Whether a script may safely call a function of this name: identifiers of ASCII letters, digits, "_" and "$",
    /// joined by dots, the first of them no reserved word.
    static bool isCallable(std::string_view callbackName);

private:
    // Held until the last completion is dropped, so that a result always finds the view's lock.
    const std::shared_ptr<DWKWebView> m_view;
    const std::string m_callbackName;
    mutable std::mutex m_mutex;
    boost::json::value m_result;
};

} // namespace tq
