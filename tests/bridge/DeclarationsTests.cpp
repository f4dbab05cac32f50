#include "TQWhiteBoardLib/Declarations.h"
#include "TQWhiteBoardLib/NativeFunctions.h"

#include <array>
#include <boost/describe/class.hpp>
#include <boost/describe/enum.hpp>
#include <gtest/gtest.h>
#include <stdexcept>

namespace tq::test {

struct Place {
    double x = 0;
    std::optional<std::string> note;
};
BOOST_DESCRIBE_STRUCT(Place, (), (x, note))

enum class Shade { Light, Dark };
BOOST_DESCRIBE_ENUM(Shade, Light, Dark)

struct Tree {
    std::vector<Tree> children;
    Shade shade = Shade::Light;
};
BOOST_DESCRIBE_STRUCT(Tree, (), (children, shade))

// Names that others have, or that mean something else there.
struct Other {
    struct Place {
        bool isFar = false;
    };
    struct string {
        int length = 0;
    };
};
BOOST_DESCRIBE_STRUCT(Other::Place, (), (isFar))
BOOST_DESCRIBE_STRUCT(Other::string, (), (length))
template <class T> struct Pair {
    T left;
    T right;
};
BOOST_DESCRIBE_STRUCT(Pair<Shade>, (), (left, right))

struct Date { };
Date tag_invoke(boost::json::value_to_tag<Date>, const boost::json::value&) { return {}; }
struct Unsaid { };
void tag_invoke(boost::json::value_from_tag, boost::json::value&, Unsaid) { }

} // namespace tq::test

template <> inline constexpr std::string_view tq::kTypeScript<tq::test::Date> = "string";

namespace tq::test {
namespace {

class Base : public NSObject {
public:
    static const NSClass& staticClass()
    {
        static const auto table = NSClass::of<Base>("Base", &NSObject::staticClass(),
            { { "name:", [](int) { return 1; } }, { "both:", [](bool) {} }, { "last:", &Base::last } });
        return table;
    }
    const NSClass& objectClass() const override { return staticClass(); }
    OptionalValue last(OptionalValue argument) { return argument; }
};

class Derived final : public Base {
public:
    const NSClass& objectClass() const override
    {
        static const auto table = NSClass::of<Derived>("Derived", &Base::staticClass(),
            { { "name:", [] { return std::string(); } }, { "both:", [](std::string_view) {} },
                { "both:with:", [](int, Stream<Place>) {} }, { "then:", [] {} } });
        return table;
    }
};

/// What an interface has of a function.
template <class Function> std::string declared(Function function)
{
    return declarationOf(*nativeFunctions({ { "f:", std::move(function) } }), "Methods");
}
template <class T> std::string typeOf() { return TypeScript("Methods").typeOf<T>(); }

TEST(Declarations, NameWhatDescribedTypesHoldOnce)
{
    const auto object = nativeFunctions({
        { "plant:", [](const Tree& tree, std::optional<Place>) { return tree; } },
        { "go::", [](Other::Place, Stream<std::variant<int, Other::string>>) {} },
        { "mix::", [](Pair<Shade>, NSCompletion) {} },
    });
    EXPECT_EQ(declarationOf(*object, "Garden"), R"(// What pages can call of the application, written by it.

import type { NativeCall } from "./bridge.js";

export type Shade = "Light" | "Dark";

export interface Tree {
    children: Tree[];
    shade: Shade;
}

export interface Place {
    x: number;
    note: string | null;
}

export interface Place_ {
    isFar: boolean;
}

export interface string_ {
    length: number;
}

export interface Pair_tq__test__Shade_ {
    left: Shade;
    right: Shade;
}

export interface Garden {
    plant(argument1: Tree, argument2: Place | null): Promise<Tree>;
    go(argument: Place_): NativeCall<number | string_>;
    mix(argument: Pair_tq__test__Shade_): NativeCall<unknown>;
}
)");
}

TEST(Declarations, WriteTypesAsJSONCarriesThem)
{
    EXPECT_EQ(typeOf<char>() + typeOf<float>() + typeOf<std::vector<bool>>(), "numbernumberboolean[]");
    EXPECT_EQ((typeOf<std::array<std::optional<int>, 2>>()), "(number | null)[]");
    EXPECT_EQ((typeOf<std::pair<std::string_view, boost::json::string>>()), "[string, string]");
    EXPECT_EQ((typeOf<std::map<std::string, std::tuple<int>>>()), "{ [key: string]: [number] }");
    EXPECT_EQ((typeOf<std::variant<std::monostate, boost::json::object>>()), "null | { [key: string]: unknown }");
    EXPECT_EQ((typeOf<boost::json::array>()), "unknown[]");
    EXPECT_EQ((typeOf<std::vector<Date>>() + typeOf<Unsaid>()), "string[]unknown");

    const auto interface = [](const std::string& signature) {
        return "// What pages can call of the application, written by it.\n\nexport interface Methods {\n    f"
            + signature + ";\n}\n";
    };
    EXPECT_EQ(declared([](std::optional<int>) { return std::optional<int>(); }),
        interface("(argument?: number | null): Promise<number | \"\">"));
    EXPECT_EQ(
        declared([](OptionalValue argument) { return argument; }), interface("(argument?: unknown): Promise<unknown>"));
    EXPECT_EQ(declared([](OptionalValue, boost::json::value) {}),
        interface("(argument1: unknown, argument2: unknown): Promise<void>"));
}

TEST(Declarations, HaveEachNameOnceTheNearestFirst)
{
    const auto text = declarationOf(Derived(), "Methods");
    EXPECT_EQ(text.substr(text.find("export interface Methods")), R"(export interface Methods {
    name(): Promise<string>;
    both(argument: number): NativeCall<Place>;
    last(argument?: unknown): Promise<unknown>;
}
)");
}

TEST(Declarations, QuoteWhatIsNoIdentifier)
{
    const auto text = declarationOf(*nativeFunctions({ { "new:", [] {} }, { "a\"b\n:", [] {} } }), "Methods");
    EXPECT_NE(text.find("    \"new\"(): Promise<void>;\n    \"a\\\"b\\n\"(): Promise<void>;\n"), text.npos) << text;
    for (const char* name : { "", "1", "a b", "a{}", "class", "string", "NativeCall" })
        EXPECT_THROW(declarationOf(Derived(), name), std::invalid_argument) << name;
}

} // namespace
} // namespace tq::test
