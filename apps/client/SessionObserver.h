#pragma once

#include "SessionState.h"
#include "platform/Foundation/NSTypes.h"
#include "platform/UIKit/UIImage.h"

#include <memory>
#include <string_view>

namespace tq {
class TQWBWebView;
}

namespace tqclient {

/// How much attention an event wants.
enum class Severity { Plain, Failure };

/// Follows a session. Everything runs on the main thread.
class SessionObserver {
public:
    virtual ~SessionObserver() = default;

    virtual void sessionStateChanged(const SessionState& state) = 0;
    /// The session shows its room in another view from now on; absent: in none.
    virtual void sessionViewChanged(const std::shared_ptr<tq::TQWBWebView>& view) = 0;
    /// Something happened.
    virtual void sessionEvent(std::string_view name, std::string_view detail, Severity severity) = 0;
    /// Something went wrong that a person has to know.
    /// @param title what was attempted. @param detail code and text.
    virtual void sessionFailed(std::string_view title, std::string_view detail) = 0;
    virtual void sessionRecorded(const tq::OptionalText& url) = 0;
    virtual void sessionCaptured(const tq::UIImage& image) = 0;
};

} // namespace tqclient
