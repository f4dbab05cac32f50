#include "NSStream.h"

namespace tq {

ResultSink::~ResultSink() = default;

} // namespace tq
