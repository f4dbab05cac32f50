#include "NSObject.h"

namespace tq {

NSObject::~NSObject() = default;

const NSClass& NSObject::staticClass()
{
    static const NSClass table("NSObject", nullptr, {});
    return table;
}

void NSObject::observeValueForKeyPath(std::string_view, NSObject*, const boost::json::object&, void*) { }

} // namespace tq
