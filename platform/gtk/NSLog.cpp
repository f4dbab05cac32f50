#include "../Foundation/NSLog.h"

#include "GLibPointers.h"

namespace tq {

void NSLog(std::string_view line)
{
    // The journal and a terminal take UTF-8 only.
    const GCharPointer message(g_utf8_make_valid(line.data(), static_cast<gssize>(line.size())));
    g_log_structured("TQWhiteBoardLib", G_LOG_LEVEL_MESSAGE, "MESSAGE", "%s", message.get());
}

} // namespace tq
