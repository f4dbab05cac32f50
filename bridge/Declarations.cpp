#include "TQWhiteBoardLib/Declarations.h"

#include "platform/Foundation/NSJSONSerialization.h"
#include "platform/Foundation/TypeScript.h"

#include <set>
#include <stdexcept>

namespace tq {

namespace {

constexpr std::string_view kPlainNameCharacters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz_$0123456789";
constexpr std::string_view kDigits = "0123456789";

bool isPlainName(std::string_view name)
{
    return !name.empty() && name.find_first_not_of(kPlainNameCharacters) == name.npos
        && kDigits.find(name.front()) == kDigits.npos;
}

// Pages' proxies leave these to those who find out by them what an object is.
bool isNotInProxies(std::string_view method) { return method == "then" || method == "toJSON"; }

// As the key of an interface, in which "new" would mean something else.
std::string keyOf(std::string_view method)
{
    if (isPlainName(method) && method != "new")
        return std::string(method);
    std::string quoted;
    NSJSONSerialization::appendText(quoted, method);
    return quoted;
}

} // namespace

std::string declarationOf(const NSObject& object, std::string_view name)
{
    if (!isPlainName(name) || TypeScript::isReserved(name))
        throw std::invalid_argument("an interface cannot be called \"" + std::string(name) + '"');
    const auto& table = object.objectClass();
    TypeScript types(name);
    std::string methods;
    std::set<std::string_view> written;
    for (const auto* current = &table; current && current != &NSObject::staticClass();
         current = current->superclass()) {
        for (const auto& method : current->methods()) {
            const auto called = method.name().substr(0, method.name().find(':'));
            if (isNotInProxies(called) || !written.insert(called).second)
                continue;
            const auto [sync, async] = table.candidates(called);
            methods.append("    ")
                .append(keyOf(called))
                .append((async ? async : sync)->typeScript(types))
                .append(";\n");
        }
    }
    std::string text = "// What pages can call of the application, written by it.\n\n";
    if (methods.find("): NativeCall<") != methods.npos)
        text += "import type { NativeCall } from \"./bridge.js\";\n\n";
    return text.append(types.declarations()).append("export interface ").append(name).append(" {\n" + methods + "}\n");
}

} // namespace tq
