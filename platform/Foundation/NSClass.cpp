#include "NSClass.h"

#include "NSObject.h"

#include <algorithm>

namespace tq {

NSClass::NSClass(std::string name, const NSClass* superclass, std::vector<NSMethod> methods)
    : m_name(std::move(name))
    , m_superclass(superclass)
    , m_methods(std::move(methods))
{
    for (const auto& method : m_methods) {
        auto& entry = m_candidates[method.name().substr(0, method.name().find(':'))];
        auto& slot = std::ranges::count(method.name(), ':') == 1 ? entry.sync : entry.async;
        if (!slot)
            slot = &method;
    }
    if (!m_superclass || m_superclass == &NSObject::staticClass())
        return;
    for (const auto& [key, inherited] : m_superclass->m_candidates) {
        auto& entry = m_candidates[key];
        entry.sync = entry.sync ? entry.sync : inherited.sync;
        entry.async = entry.async ? entry.async : inherited.async;
    }
}

const NSMethod* NSClass::foreignMethod(const NSObject& object) const
{
    for (const auto* current = this; current; current = current->m_superclass) {
        const auto found
            = std::ranges::find_if(current->m_methods, [&](const NSMethod& method) { return !method.isFor(object); });
        if (found != current->m_methods.end())
            return &*found;
    }
    return nullptr;
}

NSClass::Candidates NSClass::candidates(std::string_view name) const
{
    auto found = m_candidates.find(name);
    return found == m_candidates.end() ? Candidates{} : found->second;
}

} // namespace tq
