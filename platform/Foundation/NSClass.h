#pragma once

#include "Export.h"
#include "NSFunction.h"
#include "NSStream.h"
#include "NSTypes.h"
#include "TypeScript.h"

#include <array>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <vector>

namespace tq {

class NSObject;

/// The name of a synchronous native method: "name:", one colon, at the end. Anything else does not compile.
class SyncMethodName {
public:
    /// Takes a string literal.
    consteval SyncMethodName(const char* name)
        : m_text(name)
    {
        if (m_text.find(':') != m_text.size() - 1 || m_text.size() < 2)
            throw "a synchronous method is named \"name:\"";
    }
    /// The name, colon and all.
    constexpr std::string_view text() const { return m_text; }

private:
    std::string_view m_text;
};

/// The name of an asynchronous native method: "name::" or "name:label:", two colons. Anything else does not compile.
class AsyncMethodName {
public:
    /// Takes a string literal.
    consteval AsyncMethodName(const char* name)
        : m_text(name)
    {
        auto first = m_text.find(':');
        if (first == 0 || first == m_text.npos || m_text.find(':', first + 1) != m_text.size() - 1)
            throw "a method with a completion or a stream is named \"name::\" or \"name:label:\"";
    }
    /// The name, colons and all.
    constexpr std::string_view text() const { return m_text; }

private:
    std::string_view m_text;
};

/// One row of a table of methods: a method's full name, in which every argument is marked by a colon, and what is
/// behind it: a member function of the class, or any function. Names must be string literals.
///
/// Functions may have types: see `NativeFunction`.
class NSMethod {
public:
    /// A synchronous method. The plainest takes and returns an `OptionalValue`: the page's argument (absent when the
    /// page sent none or null), and the result (absent: nothing).
    template <class Function>
    requires(!IsAsynchronous<Function>) NSMethod(SyncMethodName name, Function function)
        : m_name(name.text())
    {
        checkFunction<Function>();
        if constexpr (NativeFunction<Function>) {
            m_sync = [](const NSMethod& row, NSObject& object, OptionalValue&& argument, std::string& mismatch) {
                return callSync<Function>(row.bound<Function>(object), std::move(argument), mismatch);
            };
            m_typeScript = &TypeScript::signatureOf<Function>;
            store(std::move(function));
        }
    }

    /// An asynchronous method: its last parameter is a `Stream`, or an `NSCompletion`, which it may keep and call
    /// later.
    template <IsAsynchronous Function>
    NSMethod(AsyncMethodName name, Function function)
        : m_name(name.text())
    {
        checkFunction<Function>();
        if constexpr (NativeFunction<Function>) {
            m_async = [](const NSMethod& row, NSObject& object, OptionalValue&& argument,
                          const std::shared_ptr<ResultSink>& sink, std::string& mismatch) {
                callAsync<Function>(row.bound<Function>(object), std::move(argument), sink, mismatch);
            };
            m_typeScript = &TypeScript::signatureOf<Function>;
            store(std::move(function));
        }
    }

    /// The name in the table, colons and all.
    std::string_view name() const { return m_name; }
    /// Whether the method can be called on the object: false for a member function of a class that it is not of.
    bool isFor(const NSObject& object) const { return !m_isOfClass || m_isOfClass(object); }
    /// What the method takes and returns, as TypeScript writes it.
    std::string typeScript(TypeScript& types) const { return (types.*m_typeScript)(); }
    /// Calls a synchronous method on an object that it is for.
    /// @param mismatch says why a typed method could not be called; as it was if it was called.
    OptionalValue invoke(NSObject& object, OptionalValue&& argument, std::string& mismatch) const
    {
        return m_sync(*this, object, std::move(argument), mismatch);
    }
    /// Calls an asynchronous method. @param sink takes the results.
    void invoke(NSObject& object, OptionalValue&& argument, const std::shared_ptr<ResultSink>& sink,
        std::string& mismatch) const
    {
        m_async(*this, object, std::move(argument), sink, mismatch);
    }

private:
    using Sync = OptionalValue (*)(const NSMethod&, NSObject&, OptionalValue&&, std::string&);
    using Async
        = void (*)(const NSMethod&, NSObject&, OptionalValue&&, const std::shared_ptr<ResultSink>&, std::string&);

    template <class Function> void store(Function function)
    {
        if constexpr (std::is_member_function_pointer_v<Function>) {
            static_assert(sizeof(function) <= sizeof(m_member));
            m_isOfClass = [](const NSObject& object) {
                return dynamic_cast<const typename Signature<Function>::Object*>(&object) != nullptr;
            };
            std::memcpy(m_member.data(), &function, sizeof(function));
        } else {
            m_function = std::make_shared<Function>(std::move(function));
        }
    }
    template <class Pointer> Pointer load() const
    {
        Pointer method{};
        std::memcpy(&method, m_member.data(), sizeof(method));
        return method;
    }
    // The function, ready to be called; a member function with its object.
    template <class Function> auto bound(NSObject& object) const
    {
        if constexpr (std::is_member_function_pointer_v<Function>) {
            using Object = typename Signature<Function>::Object;
            static_assert(std::derived_from<Object, NSObject>, "a member function of a table belongs to an NSObject");
            return [&target = static_cast<Object&>(object), method = load<Function>()](
                       auto&&... values) -> decltype(auto) {
                return (target.*method)(std::forward<decltype(values)>(values)...);
            };
        } else {
            return std::ref(*static_cast<Function*>(m_function.get()));
        }
    }

    std::string_view m_name;
    bool (*m_isOfClass)(const NSObject&) = nullptr;
    Sync m_sync = nullptr;
    Async m_async = nullptr;
    std::string (TypeScript::*m_typeScript)() = nullptr;
    alignas(void*) std::array<std::byte, 2 * sizeof(void*)> m_member{};
    std::shared_ptr<void> m_function;
};

/// Whether a function may stand in a table of the class: any function, and a member function of the class or of a base
/// of it. In a table without a class (`void`) no member function may.
template <class Function, class Class>
concept BelongsTo = !std::is_member_function_pointer_v<Function> || requires
{
    requires std::derived_from<Class, typename Signature<Function>::Object>;
};

/// A row of a table of that class alone; see `NSMethod`.
template <class Class> class NSMethodOf : public NSMethod {
public:
    /// A synchronous method.
    template <BelongsTo<Class> Function>
    requires(!IsAsynchronous<Function>) NSMethodOf(SyncMethodName name, Function function)
        : NSMethod(name, std::move(function))
    {
    }
    /// An asynchronous method.
    template <BelongsTo<Class> Function>
    requires IsAsynchronous<Function> NSMethodOf(AsyncMethodName name, Function function)
        : NSMethod(name, std::move(function))
    {
    }
    /// A member function of another class has no place in this table: it would be called on an object it is not of.
    template <class Function>
    requires(!BelongsTo<Function, Class>) NSMethodOf(const char* name, Function memberOfAnotherClass)
    = delete;
};

/// The methods that a class of native objects publishes, and its superclass. One object a class, made once; immutable
/// afterwards and safe to read from any thread.
class TQWB_EXPORT NSClass {
public:
    /// A table whose class the compiler knows: a row of another class does not compile.
    /// `static const auto table = NSClass::of<Clock>("Clock", &NSObject::staticClass(), { { "now:", &Clock::now } });`
    /// @tparam Class what the rows belong to, the class itself or a base of it.
    template <class Class>
    static NSClass of(
        std::string_view name, const NSClass* superclass, std::initializer_list<NSMethodOf<Class>> methods)
    {
        // (A std::string as the name, clang++ 14 would destroy each time that the function with the table is called.)
        static_assert(std::derived_from<Class, NSObject>, "a table is that of a class of native objects");
        return NSClass(std::string(name), superclass, std::vector<NSMethod>(methods.begin(), methods.end()));
    }
    /// A table whose rows are looked at when an object of the class is registered: one with a row of another class is
    /// refused then.
    /// @param superclass the table of the base class; absent only for the root.
    /// @param methods the class's own methods in the order of their definition.
    NSClass(std::string name, const NSClass* superclass, std::vector<NSMethod> methods);
    NSClass(const NSClass&) = delete;
    NSClass& operator=(const NSClass&) = delete;

    /// The class's own name.
    const std::string& name() const { return m_name; }
    /// The table of the base class; null for the root.
    const NSClass* superclass() const { return m_superclass; }
    /// The class's own methods, without those of its superclass.
    const std::vector<NSMethod>& methods() const { return m_methods; }

    /// The methods that answer to one name: the first of each kind, the most derived class first.
    struct Candidates {
        /// Null when there is none.
        const NSMethod* sync = nullptr;
        /// Null when there is none.
        const NSMethod* async = nullptr;
    };
    /// The first method, of this class or a base of it, that is a member function of a class which the object is not
    /// of; null, as it should be, when there is none.
    const NSMethod* foreignMethod(const NSObject& object) const;
    /// What answers to a name that is written without colons; methods of the root class never do.
    Candidates candidates(std::string_view name) const;

private:
    std::string m_name;
    const NSClass* m_superclass;
    std::vector<NSMethod> m_methods;
    std::unordered_map<std::string_view, Candidates> m_candidates;
};

} // namespace tq
