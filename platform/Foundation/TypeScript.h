#pragma once

#include "Export.h"
#include "NSConversion.h"
#include "NSFunction.h"

#include <boost/describe/enumerators.hpp>
#include <boost/describe/members.hpp>
#include <boost/mp11/algorithm.hpp>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeindex>
#include <typeinfo>
#include <utility>

namespace tq {

/// How TypeScript writes a type that is converted by a `tag_invoke` of its own, which does not tell. Say it beside
/// that: `template <> inline constexpr std::string_view tq::kTypeScript<Date> = "string";`
template <class T> inline constexpr std::string_view kTypeScript = "unknown";

/// Writes types as TypeScript does, as far as JSON carries them, and gathers the declarations of those that have names
/// there: classes and enumerations that Boost.Describe describes.
class TQWB_EXPORT TypeScript {
public:
    /// @param taken a name that no type gets.
    explicit TypeScript(std::string_view taken);
    /// Whether the name means something there already.
    static bool isReserved(std::string_view name);

    /// What TypeScript calls the type, which has been declared then.
    template <class T> std::string typeOf()
    {
        namespace json = boost::json;
        if constexpr (kIsOptional<T>)
            return eitherOf<typename T::value_type, std::nullptr_t>();
        else if constexpr (kIsVariant<T> || kIsTuple<T>)
            return ofParts(std::type_identity<T>());
        else if constexpr (std::same_as<T, json::value>)
            return "unknown";
        else if constexpr (OneOf<T, std::nullptr_t, std::monostate>)
            return "null";
        else if constexpr (HasConversionFromJSON<T> || HasConversionToJSON<T>)
            return std::string(kTypeScript<T>);
        else if constexpr (std::same_as<T, bool>)
            return "boolean";
        else if constexpr (std::is_arithmetic_v<T>)
            return "number";
        else if constexpr (json::is_described_class<T>::value)
            return declaredClass<T>();
        else if constexpr (json::is_described_enum<T>::value)
            return declaredEnumeration<T>();
        else if constexpr (std::same_as<T, json::string> || json::is_string_like<T>::value)
            return "string";
        else if constexpr (std::same_as<T, json::object>)
            return "{ [key: string]: unknown }";
        else if constexpr (json::is_map_like<T>::value)
            return "{ [key: string]: " + typeOf<typename T::mapped_type>() + " }";
        else
            return listOf(typeOf<std::iter_value_t<decltype(std::begin(std::declval<T&>()))>>());
    }

    /// What stands behind a method's name in an interface: "(argument: number): Promise<number>".
    template <NativeFunction Function> std::string signatureOf()
    {
        // What is named first is declared first.
        const auto taken = parameters<Function>(std::make_index_sequence<kArgumentCount<Function>>());
        return "(" + taken + "): " + result<Function>();
    }

    /// The declarations of all named types so far, each with an empty line behind it.
    const std::string& declarations() const { return m_declarations; }

private:
    /// @returns the type's name, and whether it is new.
    std::pair<std::string, bool> nameOf(const std::type_info& type);

    static std::string listOf(const std::string& element);
    template <class... Parts> std::string eitherOf() { return joined(" | ", { typeOf<Parts>()... }); }
    template <class... Parts> std::string ofParts(std::type_identity<std::variant<Parts...>>)
    {
        return eitherOf<Parts...>();
    }
    template <template <class...> class Tuple, class... Parts> std::string ofParts(std::type_identity<Tuple<Parts...>>)
    {
        return "[" + joined(", ", { typeOf<Parts>()... }) + "]";
    }
    static std::string joined(std::string_view between, std::initializer_list<std::string> parts);

    template <class T> std::string declaredClass()
    {
        using namespace boost::describe;
        auto [name, isNew] = nameOf(typeid(T));
        if (isNew) {
            auto text = "export interface " + name + " {\n";
            boost::mp11::mp_for_each<describe_members<T, mod_public | mod_inherited>>([&](auto member) {
                using Value = std::remove_cvref_t<decltype(std::declval<T&>().*member.pointer)>;
                text.append("    ").append(member.name).append(": ").append(typeOf<Value>()).append(";\n");
            });
            m_declarations += text + "}\n\n";
        }
        return name;
    }
    template <class T> std::string declaredEnumeration()
    {
        auto [name, isNew] = nameOf(typeid(T));
        if (isNew) {
            std::string values;
            boost::mp11::mp_for_each<boost::describe::describe_enumerators<T>>([&](auto enumerator) {
                values.append(values.empty() ? "\"" : " | \"").append(enumerator.name).append("\"");
            });
            m_declarations += "export type " + name + " = " + (values.empty() ? "never" : values) + ";\n\n";
        }
        return name;
    }

    template <class Function, std::size_t... I> std::string parameters(std::index_sequence<I...>)
    {
        return joined(", ", { parameter<ValueOf<Function, I>, I, sizeof...(I)>()... });
    }
    template <class T, std::size_t index, std::size_t count> std::string parameter()
    {
        // What is absent is read as null is; a list has all of its elements.
        constexpr bool mayBeAbsent = kIsOptional<T> || std::same_as<T, boost::json::value>;
        const auto type = std::same_as<T, OptionalValue> ? "unknown" : typeOf<T>();
        if constexpr (count == 1)
            return std::string("argument").append(mayBeAbsent ? "?: " : ": ").append(type);
        else
            return "argument" + std::to_string(index + 1) + ": " + type;
    }

    template <class Function> std::string result()
    {
        if constexpr (TakesStream<Function>)
            return "NativeCall<" + typeOf<typename std::remove_cvref_t<LastParameterOf<Function>>::Value>() + ">";
        else if constexpr (TakesCompletion<Function>)
            return "NativeCall<unknown>";
        else if constexpr (std::is_void_v<ResultOf<Function>>)
            return "Promise<void>";
        else {
            using Result = std::remove_cvref_t<ResultOf<Function>>;
            if constexpr (std::same_as<Result, OptionalValue>)
                return "Promise<unknown>";
            else if constexpr (kIsOptional<Result>) // no result is the empty text
                return "Promise<" + typeOf<typename Result::value_type>() + " | \"\">";
            else
                return "Promise<" + typeOf<Result>() + ">";
        }
    }

    std::map<std::type_index, std::string> m_names;
    std::set<std::string> m_taken;
    std::string m_declarations;
};

} // namespace tq
