#pragma once

#include "NSConversion.h"
#include "NSStream.h"
#include "NSTypes.h"

#include <concepts>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

// Typed methods, called with what a page sends.

namespace tq {

/// @cond
/// What a function takes and returns; there is none of what is overloaded or a template.
template <class Function> struct Signature {
};
template <class R, class... Parameters> struct Signature<R(Parameters...)> {
    using Result = R;
    using All = std::tuple<std::type_identity<Parameters>...>;
};
template <class R, class... P> struct Signature<R (*)(P...)> : Signature<R(P...)> {
};
template <class R, class... P> struct Signature<R (*)(P...) noexcept> : Signature<R(P...)> {
};
template <class R, class T, class... P> struct Signature<R (T::*)(P...)> : Signature<R(P...)> {
    using Object = T;
};
template <class R, class T, class... P> struct Signature<R (T::*)(P...) const> : Signature<R (T::*)(P...)> {
};
template <class R, class T, class... P> struct Signature<R (T::*)(P...) noexcept> : Signature<R (T::*)(P...)> {
};
template <class R, class T, class... P> struct Signature<R (T::*)(P...) const noexcept> : Signature<R (T::*)(P...)> {
};
template <class Function>
requires requires { &Function::operator(); }
struct Signature<Function> : Signature<decltype(&Function::operator())> { };

template <class Function>
concept HasSignature = requires
{
    typename Signature<Function>::Result;
};

template <class Function> using ResultOf = typename Signature<Function>::Result;
template <class Function> using ParametersOf = typename Signature<Function>::All;

/// The parameter of that number; `void` where there is none.
template <class All, std::size_t index> struct ParameterAt {
    using type = void;
};
template <class All, std::size_t index>
requires(index < std::tuple_size_v<All>) struct ParameterAt<All, index> {
    using type = typename std::tuple_element_t<index, All>::type;
};
template <class Function, std::size_t index>
using ParameterOf = typename ParameterAt<ParametersOf<Function>, index>::type;
template <class Function, std::size_t index> using ValueOf = std::remove_cvref_t<ParameterOf<Function, index>>;
template <class Function> using LastParameterOf = ParameterOf<Function, std::tuple_size_v<ParametersOf<Function>> - 1>;

template <class T> inline constexpr bool kIsStream = false;
template <class T> inline constexpr bool kIsStream<Stream<T>> = true;
/// @endcond

/// A function whose last parameter is a `Stream`.
template <class Function>
concept TakesStream = HasSignature<Function> && kIsStream<std::remove_cvref_t<LastParameterOf<Function>>>;
/// A function whose last parameter is a completion.
template <class Function>
concept TakesCompletion
    = HasSignature<Function> && std::same_as<std::remove_cvref_t<LastParameterOf<Function>>, NSCompletion>;
/// A function that answers later.
template <class Function>
concept IsAsynchronous = TakesStream<Function> || TakesCompletion<Function>;

/// How many parameters are made of the page's argument.
template <class Function>
inline constexpr std::size_t kArgumentCount
    = std::tuple_size_v<ParametersOf<Function>> - (IsAsynchronous<Function> ? 1 : 0);

/// A parameter that a temporary can be handed to.
template <class Parameter>
concept TakesTemporary = !std::is_lvalue_reference_v<Parameter> || std::is_const_v<std::remove_reference_t<Parameter>>;
template <class Parameter>
concept ArgumentParameter = JSONReadable<std::remove_cvref_t<Parameter>> && TakesTemporary<Parameter>;

template <class Function> consteval bool takesArguments()
{
    return []<std::size_t... I>(std::index_sequence<I...>) consteval
    {
        return (ArgumentParameter<ParameterOf<Function, I>> && ...);
    }
    (std::make_index_sequence<kArgumentCount<Function>>());
}

template <class Function> consteval bool returnsResult()
{
    if constexpr (IsAsynchronous<Function> || std::is_void_v<ResultOf<Function>>)
        return std::is_void_v<ResultOf<Function>>;
    else
        return JSONWritable<ResultOf<Function>>;
}

template <class Function> consteval bool streamsResults()
{
    if constexpr (TakesStream<Function>) {
        using Last = LastParameterOf<Function>;
        return TakesTemporary<Last> && JSONWritable<typename std::remove_cvref_t<Last>::Value>;
    } else if constexpr (TakesCompletion<Function>)
        return TakesTemporary<LastParameterOf<Function>>;
    else
        return true;
}

/// A function of the application that a page can call: a member function of an `NSObject`, a free function, or an
/// object with one call operator, a lambda for example.
///
/// The page's one argument becomes the function's parameters: nothing of it where there are none, the argument itself
/// where there is one (null and none at all are the same: absent for a `std::optional`), and where there are several,
/// the elements of a list of exactly that many. Parameters are `JSONReadable`, by value or by const reference; views
/// into the argument, `std::string_view` for example, are good until the function returns. When the argument does not
/// fit, the function is not called, and the page gets a text that says why.
///
/// The result is `JSONWritable`, or `void`; an absent `std::optional` is no result. A function whose last parameter is
/// a `Stream` or an `NSCompletion` is asynchronous: it returns `void` and sends its results by that. What the page gets
/// of it when it ends without a last result is `undefined`.
template <class Function>
concept NativeFunction
    = HasSignature<Function> && takesArguments<Function>() && returnsResult<Function>() && streamsResults<Function>();

/// Says in plain words what a function lacks to be a `NativeFunction`.
template <class Function> consteval void checkFunction()
{
    static_assert(HasSignature<Function>, "what a page calls is a function that is neither overloaded nor a template");
    if constexpr (HasSignature<Function>) {
        static_assert(takesArguments<Function>(),
            "a parameter cannot be made of JSON: its type is unknown (describe it with Boost.Describe), or a map whose "
            "keys are no texts, or it is a reference to what is not const");
        static_assert(returnsResult<Function>(),
            "the result cannot be made into JSON: its type is unknown (describe it with Boost.Describe), or a map "
            "whose keys are no texts, or the function answers later and returns something, too");
        static_assert(streamsResults<Function>(),
            "the results cannot be made into JSON: their type is unknown (describe it with Boost.Describe), or a map "
            "whose keys are no texts, or the stream is a reference to what is not const");
    }
}

template <class Function, class Call, std::size_t... I>
OptionalValue callWithElements(
    boost::json::array& list, std::string& mismatch, const Call& call, std::index_sequence<I...>)
{
    std::tuple<std::optional<ValueOf<Function, I>>...> values{ readJSON<ValueOf<Function, I>>(list[I])... };
    if ((std::get<I>(values).has_value() && ...))
        return call(std::move(*std::get<I>(values))...);
    const auto blame = [&](std::size_t index, JSONKind kind) {
        mismatch = mismatchText("argument " + std::to_string(index + 1), kind, list[index]);
        return true;
    };
    // The first that does not fit.
    static_cast<void>(((!std::get<I>(values) && blame(I, kindOf<ValueOf<Function, I>>())) || ...));
    return std::nullopt;
}

template <class Function, class Call>
OptionalValue callWithValue(boost::json::value& whole, std::string& mismatch, const Call& call)
{
    constexpr auto kCount = kArgumentCount<Function>;
    if constexpr (kCount == 1) {
        using Value = ValueOf<Function, 0>;
        auto value = readJSON<Value>(whole);
        if (value)
            return call(std::move(*value));
        mismatch = mismatchText("the argument", kindOf<Value>(), whole);
    } else {
        auto* list = whole.if_array();
        if (list && list->size() == kCount)
            return callWithElements<Function>(*list, mismatch, call, std::make_index_sequence<kCount>());
        mismatch = countMismatchText(kCount);
    }
    return std::nullopt;
}

/// Calls with the parameters that the page's argument makes, or says why there are none.
/// @param call returns the result, absent for none.
template <class Function, class Call>
OptionalValue callWithArguments(OptionalValue&& argument, std::string& mismatch, const Call& call)
{
    constexpr auto kCount = kArgumentCount<Function>;
    if constexpr (kCount == 0)
        return call();
    else if constexpr (kCount == 1 && std::same_as<ValueOf<Function, 0>, OptionalValue>)
        return call(std::move(argument));
    else // None at all is read as null is.
        return callWithValue<Function>(argument ? *argument : argument.emplace(), mismatch, call);
}

/// Calls a synchronous function. @param function the function, or whatever stands for it.
template <class Function, class Callable>
OptionalValue callSync(const Callable& function, OptionalValue&& argument, std::string& mismatch)
{
    return callWithArguments<Function>(std::move(argument), mismatch, [&](auto&&... values) -> OptionalValue {
        if constexpr (std::is_void_v<ResultOf<Function>>) {
            function(std::forward<decltype(values)>(values)...);
            return std::nullopt;
        } else if constexpr (std::same_as<ResultOf<Function>, OptionalValue>)
            return function(std::forward<decltype(values)>(values)...);
        else
            return writeJSON(function(std::forward<decltype(values)>(values)...));
    });
}

/// Calls an asynchronous function.
template <class Function, class Callable>
void callAsync(
    const Callable& function, OptionalValue&& argument, const std::shared_ptr<ResultSink>& sink, std::string& mismatch)
{
    callWithArguments<Function>(std::move(argument), mismatch, [&](auto&&... values) -> OptionalValue {
        if constexpr (TakesCompletion<Function>)
            function(std::forward<decltype(values)>(values)..., completionOf(sink));
        else
            function(std::forward<decltype(values)>(values)..., std::remove_cvref_t<LastParameterOf<Function>>(sink));
        return std::nullopt;
    });
}

} // namespace tq
