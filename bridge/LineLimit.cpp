#include "LineLimit.h"

namespace tq {

bool LineLimit::admit(Time now)
{
    if (now - m_begin >= std::chrono::seconds(1)) {
        m_begin = now;
        m_written = 0;
    }
    if (m_written == kMostInASecond) {
        ++m_leftOut;
        return false;
    }
    ++m_written;
    return true;
}

} // namespace tq
