#pragma once

#include "Export.h"
#include "NSTypes.h"

#include <array>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_map>
#include <vector>

namespace tq {

class NSObject;

/// Whether more results of the same call will follow.
enum class Complete : bool { No, Yes };

/// Hands a result of an asynchronous native method to the page. It may be called any number of times and from any
/// thread (not from two threads at once); absent leaves the value of the previous result in place.
using NSCompletion = std::function<void(OptionalValue value, Complete complete)>;

/// The name of a synchronous native method: "name:", one colon, at the end. Anything else does not compile.
class SyncMethodName {
public:
    consteval SyncMethodName(const char* name)
        : m_text(name)
    {
        if (m_text.find(':') != m_text.size() - 1 || m_text.size() < 2)
            throw "a method that takes one argument is named \"name:\"";
    }
    constexpr std::string_view text() const { return m_text; }

private:
    std::string_view m_text;
};

/// The name of an asynchronous native method: "name::" or "name:label:", two colons. Anything else does not compile.
class AsyncMethodName {
public:
    consteval AsyncMethodName(const char* name)
        : m_text(name)
    {
        auto first = m_text.find(':');
        if (first == 0 || first == m_text.npos || m_text.find(':', first + 1) != m_text.size() - 1)
            throw "a method that takes an argument and a completion is named \"name::\" or \"name:label:\"";
    }
    constexpr std::string_view text() const { return m_text; }

private:
    std::string_view m_text;
};

/// One row of a class's method table: a method's full name, in which every argument is marked by a colon, and the
/// member function behind it. Names must be string literals.
class NSMethod {
public:
    /// A synchronous method: takes the page's argument (absent when the page sent none or null) and returns its result
    /// (absent: nothing).
    template <std::derived_from<NSObject> T>
    NSMethod(SyncMethodName name, OptionalValue (T::*method)(OptionalValue))
        : m_name(name.text())
        , m_sync([](const NSMethod& row, NSObject& object, OptionalValue&& argument) {
            return (static_cast<T&>(object).*row.load<decltype(method)>())(std::move(argument));
        })
    {
        store(method);
    }

    /// An asynchronous method: takes the page's argument and a completion, which it may keep and call later.
    template <std::derived_from<NSObject> T>
    NSMethod(AsyncMethodName name, void (T::*method)(OptionalValue, NSCompletion))
        : m_name(name.text())
        , m_async([](const NSMethod& row, NSObject& object, OptionalValue&& argument, NSCompletion&& completion) {
            (static_cast<T&>(object).*row.load<decltype(method)>())(std::move(argument), std::move(completion));
        })
    {
        store(method);
    }

    std::string_view name() const { return m_name; }
    OptionalValue invoke(NSObject& object, OptionalValue&& argument) const
    {
        return m_sync(*this, object, std::move(argument));
    }
    void invoke(NSObject& object, OptionalValue&& argument, NSCompletion&& completion) const
    {
        m_async(*this, object, std::move(argument), std::move(completion));
    }

private:
    using Sync = OptionalValue (*)(const NSMethod&, NSObject&, OptionalValue&&);
    using Async = void (*)(const NSMethod&, NSObject&, OptionalValue&&, NSCompletion&&);

    template <class Pointer> void store(Pointer method)
    {
        static_assert(sizeof(method) <= sizeof(m_member));
        std::memcpy(m_member.data(), &method, sizeof(method));
    }
    template <class Pointer> Pointer load() const
    {
        Pointer method{};
        std::memcpy(&method, m_member.data(), sizeof(method));
        return method;
    }

    std::string_view m_name;
    Sync m_sync = nullptr;
    Async m_async = nullptr;
    alignas(void*) std::array<std::byte, 2 * sizeof(void*)> m_member{};
};

/// The methods that a class of native objects publishes, and its superclass. One object a class, made once; immutable
/// afterwards and safe to read from any thread.
class TQWB_EXPORT NSClass {
public:
    /// @param superclass the table of the base class; absent only for the root.
    /// @param methods the class's own methods in the order of their definition.
    NSClass(std::string name, const NSClass* superclass, std::vector<NSMethod> methods);
    NSClass(const NSClass&) = delete;
    NSClass& operator=(const NSClass&) = delete;

    const std::string& name() const { return m_name; }
    const NSClass* superclass() const { return m_superclass; }
    const std::vector<NSMethod>& methods() const { return m_methods; }

    /// The methods that answer to one name: the first of each kind, the most derived class first.
    struct Candidates {
        const NSMethod* sync = nullptr;
        const NSMethod* async = nullptr;
    };
    /// What answers to a name that is written without colons; methods of the root class never do.
    Candidates candidates(std::string_view name) const;

private:
    std::string m_name;
    const NSClass* m_superclass;
    std::vector<NSMethod> m_methods;
    std::unordered_map<std::string_view, Candidates> m_candidates;
};

} // namespace tq
