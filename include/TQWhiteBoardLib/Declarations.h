#pragma once

#include "platform/Foundation/Export.h"
#include "platform/Foundation/NSObject.h"

#include <string>
#include <string_view>

namespace tq {

/// The TypeScript declaration of what a page can call of a native object: the text of a module with an interface, and
/// with what its methods take and return that has a name of its own. A file of it, "calculator.d.ts" for example,
/// stands beside bridge.d.ts, which it imports; a page says `native<Calculator>("calculator")` then.
///
/// ```
/// std::ofstream("calculator.d.ts") << tq::declarationOf(*calculator, "Calculator");
/// ```
///
/// Where an object has two methods of a name, it is the one that answers later. One by the name of "then" or
/// "toJSON" is left out: pages call it by that name as a text.
/// @param name what the interface is called: an ASCII identifier that means nothing else in TypeScript; otherwise a
/// `std::invalid_argument` is thrown.
TQWB_EXPORT std::string declarationOf(const NSObject& object, std::string_view name);

} // namespace tq
