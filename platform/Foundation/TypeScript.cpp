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

TypeScript::TypeScript(std::string_view taken)
    : m_taken{ std::string(taken) }
{
}

// Words of the language, its own types, and what declarations use.
bool TypeScript::isReserved(std::string_view name)
{
    static const std::set<std::string_view> reserved{ "NativeCall", "Promise", "any", "arguments", "asserts", "await",
        "bigint", "boolean", "break", "case", "catch", "class", "const", "continue", "debugger", "default", "delete",
        "do", "else", "enum", "eval", "export", "extends", "false", "finally", "for", "function", "if", "implements",
        "import", "in", "infer", "instanceof", "interface", "keyof", "let", "never", "new", "null", "number", "object",
        "package", "private", "protected", "public", "readonly", "return", "static", "string", "super", "switch",
        "symbol", "this", "throw", "true", "try", "typeof", "undefined", "unique", "unknown", "var", "void", "while",
        "with", "yield" };
    return reserved.contains(name);
}

std::pair<std::string, bool> TypeScript::nameOf(const std::type_info& type)
{
    auto& name = m_names[type];
    if (!name.empty())
        return { name, false };
    name = ownName(type);
    while (isReserved(name) || !m_taken.insert(name).second)
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
