#pragma once

#include <string>

namespace tq {

/// The port's: whether a text (PEM) holds a certificate that its engine can read. Any thread.
bool holdsCertificate(const std::string& pem);

} // namespace tq
