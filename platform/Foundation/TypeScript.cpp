#include "TypeScript.h"

#include <algorithm>
#include <cstdlib>
#include <cxxabi.h>
#include <memory>

namespace tq {

namespace {

bool isNameCharacter(char sign)
{
    return (sign >= 'a' && sign <= 'z') || (sign >= 'A' && sign <= 'Z') || (sign >= '0' && sign <= '9') || sign == '_';
}

// The class's own name, without that of what it is in; of a template's instance, its arguments, too.
std::string ownName(const std::type_info& type)
{
    const std::unique_ptr<char, decltype(&std::free)> demangled(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, nullptr), &std::free);
    const std::string_view full = demangled ? demangled.get() : type.name();
    std::size_t begin = 0;
    int depth = 0;
    for (std::size_t index = 0; index < full.size(); ++index) {
        const char sign = full[index];
        depth += (sign == '<' || sign == '(' || sign == '{') - (sign == '>' || sign == ')' || sign == '}');
        if (sign == ':' && depth == 0)
            begin = index + 1;
    }
    std::string name(full.substr(begin));
    std::ranges::replace_if(
        name, [](char sign) { return !isNameCharacter(sign); }, '_');
    return name;
}

} // namespace

// What TypeScript has given a meaning already, as far as classes can be called so in C++, and what is used here.
TypeScript::TypeScript(std::string_view taken)
    : m_taken{ "any", "bigint", "never", "null", "number", "object", "string", "symbol", "undefined", "unknown",
        "await", "debugger", "delete", "function", "in", "instanceof", "let", "super", "var", "with", "yield",
        "arguments", "eval", "export", "extends", "finally", "implements", "import", "interface", "package", "typeof",
        "boolean", "NativeCall", "Promise" }
{
    m_taken.emplace(taken);
}

std::pair<std::string, bool> TypeScript::nameOf(const std::type_info& type)
{
    auto& name = m_names[type];
    if (!name.empty())
        return { name, false };
    name = ownName(type);
    while (!m_taken.insert(name).second)
        name += '_';
    return { name, true };
}

std::string TypeScript::listOf(const std::string& element)
{
    return element.find('|') == element.npos ? element + "[]" : "(" + element + ")[]";
}

std::string TypeScript::joined(std::string_view between, std::initializer_list<std::string> parts)
{
    std::string text;
    for (const auto& part : parts)
        text.append(text.empty() ? "" : between).append(part);
    return text;
}

} // namespace tq
