#pragma once

#include "platform/Foundation/NSTypes.h"

namespace tq {

/// What a user may do in a room, as its page says it to `TQWBPermissionProtocol::onWBPermissionChange`. The numbers are
/// not those of `TQWBRole`, and a page may say others.
enum TQWBPermission : NSInteger {
    /// The page has sent no number.
    TQWBPermissionUnknown = 0,
    /// The user is a presenter.
    TQWBPermissionPresenter = 1,
    /// The user is a viewer.
    TQWBPermissionViewer = 2,
};

} // namespace tq
