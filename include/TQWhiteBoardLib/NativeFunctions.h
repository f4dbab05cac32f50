#pragma once

#include "platform/Foundation/Export.h"
#include "platform/Foundation/NSObject.h"

#include <memory>
#include <vector>

namespace tq {

/// A native object made of functions, for `DWKWebView::addJavascriptObject`: no class needs to be derived.
///
/// ```
/// view.addJavascriptObject(tq::nativeFunctions({
///     { "negate:", [](std::int64_t number) { return -number; } },
///     { "count::", [](int last, tq::Stream<int> numbers) { ... } },
/// }), "calculator");
/// ```
///
/// A member function has no place here, since there is no object of its class: it does not compile.
TQWB_EXPORT std::shared_ptr<NSObject> nativeFunctions(std::vector<NSMethodOf<void>> functions);

} // namespace tq
