#pragma once

#include "GLibTypes.h"

namespace tqclient {

/// A new button that takes away the bar that it is in.
GtkWidget* closeButton();

} // namespace tqclient
