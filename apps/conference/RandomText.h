#pragma once

#include <string>

namespace tq::conference {

/// 32 characters of a-z, A-Z, 0-9, "-" and "_" that nobody can guess: 192 random bits.
std::string randomText();

} // namespace tq::conference
