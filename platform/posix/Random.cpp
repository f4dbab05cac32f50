#include "../Foundation/Random.h"

#include <cerrno>
#include <cstdlib>
#include <sys/random.h>

namespace tq {

std::uint32_t arc4random()
{
    std::uint32_t number = 0;
    // Four bytes come whole or not at all, and only a signal may come first.
    while (getrandom(&number, sizeof(number), 0) != sizeof(number)) {
        if (errno != EINTR)
            std::abort();
    }
    return number;
}

} // namespace tq
