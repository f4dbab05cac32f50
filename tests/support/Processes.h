#pragma once

#include <sys/types.h>

namespace tq::test {

/// Kills the processes that show pages for this one, and returns when they are gone. Fails the test when there is none.
void killPages(pid_t process);

} // namespace tq::test
