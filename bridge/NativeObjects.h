#pragma once

#include "platform/Foundation/NSObject.h"
#include "platform/Foundation/NSTypes.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace tq {

class AsyncResult;
struct CallMessage;
struct PageCallback;

/// What has become of a call: one of the two.
struct CallOutcome {
    /// The JSON text of the result.
    std::string message;
    /// Of an asynchronous method that was called; else null.
    std::shared_ptr<AsyncResult> result;
};

/// The native objects that a page may call, by namespace, and the answering of its calls. Knows nothing of the view
/// that brings them. Any thread.
class NativeObjects {
public:
    /// Makes the result of an asynchronous call, which that function of the page is to receive.
    using MakeResult = std::function<std::shared_ptr<AsyncResult>(PageCallback callback)>;
    /// Told of a call that no method answers to, by its name as the page gave it.
    using MethodMissing = std::function<void(std::string_view methodName)>;

    /// Replaces an earlier object of that namespace. An object whose table has a method of another class is refused,
    /// with a log line: that method would be called on what it is not of.
    /// @param nameSpace absent: the empty namespace.
    void add(std::shared_ptr<NSObject> object, const OptionalText& nameSpace);
    void remove(const OptionalText& nameSpace);

    /// What a call that nobody answers comes to.
    static std::string refusal();

    /// Answers one call. No lock is held while the method runs, and an exception that leaves it leaves this too.
    /// @param methodName "namespace.method", or "method" in the empty namespace.
    /// @param argumentMessage the JSON text of the call; absent: no argument.
    /// @returns the JSON text of the result; where the method has types that the argument does not fit, it is not
    /// called and the result's code is -1 with the reason as its data.
    /// @param secret present: a call without it is refused, as every call is where it is empty.
    std::string call(std::string_view methodName, std::optional<std::string_view> argumentMessage,
        const MakeResult& makeResult, const MethodMissing& methodMissing,
        std::optional<std::string_view> secret = std::nullopt) const;

    /// Answers one call that has been read already, in the same way.
    CallOutcome perform(std::string_view methodName, CallMessage&& message, const MakeResult& makeResult,
        const MethodMissing& methodMissing) const;

    /// Gives the view's own object for a namespace that nobody has registered another one for.
    void setOwn(std::string nameSpace, std::shared_ptr<NSObject> object);

    /// Whether there is a method of the "name" and the "type" ("all", "asyn" or "syn").
    bool hasMethod(const OptionalValue& question) const;

private:
    /// What a name leads to.
    struct Found {
        /// Null when the namespace has none.
        std::shared_ptr<NSObject> object;
        NSClass::Candidates candidates;
    };
    Found find(std::string_view fullName) const;
    CallOutcome perform(const Found& found, std::string_view methodName, CallMessage&& message,
        const MakeResult& makeResult, const MethodMissing& methodMissing) const;

    mutable std::mutex m_registryMutex;
    std::map<std::string, std::shared_ptr<NSObject>, std::less<>> m_objects;
    std::pair<std::string, std::shared_ptr<NSObject>> m_own;
};

} // namespace tq
