#pragma once

namespace tqclient {

/// Adds the program's own few rules to the theme. After the toolkit's start.
void installStyle();

} // namespace tqclient
