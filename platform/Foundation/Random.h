#pragma once

#include <cstdint>

namespace tq {

/// A number of 32 bits from the system's source of secure random numbers, every one equally likely. Any thread. Ends
/// the program when the system has no such source.
std::uint32_t arc4random();

} // namespace tq
