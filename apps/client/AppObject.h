#pragma once

#include "platform/Foundation/NSObject.h"

#include <memory>

namespace tqclient {

/// The client's own native object, with which a page can try out its calls:
///
/// - `echo` returns its argument, `fail` always throws.
/// - `ticks` takes `{"count":N}` and answers 1 to N from a thread of its own, the N-th as the last. A count that is no
///   whole number from 1 to 100000 is answered once, by an object with the member "error".
std::shared_ptr<tq::NSObject> makeAppObject();

} // namespace tqclient
