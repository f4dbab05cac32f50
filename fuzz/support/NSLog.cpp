#include "platform/Foundation/NSLog.h"

namespace tq {

// Nearly every input would write a line.
void writeLogLine(const std::string&) { }

} // namespace tq
