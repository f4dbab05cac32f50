#pragma once

#include "TQWhiteBoardLib/TQWBException.h"

namespace tq {

/// Follows what a room's page says of itself, beside the application's delegates and after them. Main thread, within
/// the page's call.
class PageWatcher {
public:
    virtual ~PageWatcher() = default;

    /// The page says that it is complete.
    virtual void pageHasLoaded() = 0;
    virtual void roomWasQuit() = 0;
    /// @param exception empty when the page has given none.
    virtual void roomHasFailed(const TQWBException& exception) = 0;
    /// The application has closed the view.
    virtual void viewWasClosed() = 0;
};

} // namespace tq
