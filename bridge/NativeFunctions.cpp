#include "TQWhiteBoardLib/NativeFunctions.h"

#include <utility>

namespace tq {

namespace {

// An object with a class of its own.
class FunctionObject final : public NSObject {
public:
    explicit FunctionObject(std::vector<NSMethod> functions)
        : m_class("NativeFunctions", &NSObject::staticClass(), std::move(functions))
    {
    }
    const NSClass& objectClass() const override { return m_class; }

private:
    const NSClass m_class;
};

} // namespace

std::shared_ptr<NSObject> nativeFunctions(std::vector<NSMethodOf<void>> functions)
{
    return std::make_shared<FunctionObject>(std::vector<NSMethod>(functions.begin(), functions.end()));
}

} // namespace tq
