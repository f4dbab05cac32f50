#include "InternalApis.h"

namespace tq {

const NSClass& InternalApis::staticClass()
{
    static const NSClass table("InternalApis", &NSObject::staticClass(), {});
    return table;
}

} // namespace tq
