#include "Fuzz.h"
#include "platform/Foundation/NSLog.h"

#include <cstdint>

// Nearly every input would write a line.
void tq::writeLogLine(const std::string&) { }

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    tq::fuzz::check({ reinterpret_cast<const char*>(data), size });
    return 0;
}
