#pragma once

#include "GLibTypes.h"

namespace tqclient {

/// Opens a small window over the other that lists the keys; Escape closes it.
void showShortcutsHelp(GtkWindow* parent);

} // namespace tqclient
