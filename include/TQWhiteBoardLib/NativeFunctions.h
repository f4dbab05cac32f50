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
TQWB_EXPORT std::shared_ptr<NSObject> nativeFunctions(std::vector<NSMethod> functions);

} // namespace tq
