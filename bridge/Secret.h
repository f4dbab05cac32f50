#pragma once

#include <string>

namespace tq {

/// What nobody can guess: 128 bits, as hexadecimal digits.
std::string newSecret();

} // namespace tq
