#include "tests/bridge/CallsWithoutPage.h"

#include <stdexcept>

namespace tq::test {
namespace {

class NativeObjectsTest : public CallsWithoutPage {
protected:
    class Service final : public NSObject {
    public:
        static const NSClass& staticClass()
        {
            static const NSClass table("Service", &NSObject::staticClass(),
                { { "echo:", &Service::echo }, { "fail:", &Service::fail }, { "twice::", &Service::twice } });
            return table;
        }
        const NSClass& objectClass() const override { return staticClass(); }
        OptionalValue echo(OptionalValue argument) { return argument; }
        OptionalValue fail(OptionalValue) { throw std::runtime_error("on purpose"); }
        void twice(OptionalValue argument, NSCompletion completion)
        {
            completion(std::move(argument), Complete::No);
            completion(std::nullopt, Complete::Yes);
        }
    };
};

TEST_F(NativeObjectsTest, CallsAreAnsweredWithoutAnyView)
{
    objects.add(std::make_shared<Service>(), "a.b");
    EXPECT_EQ(call(" a.b.echo\t", R"({"data":[1,"\u0000"]})"), R"({"code":0,"data":[1,"\u0000"]})");
    EXPECT_EQ(call("a.b.echo", std::nullopt), R"({"code":0,"data":""})");
    EXPECT_THROW(call("a.b.fail", "{}"), std::runtime_error);
    EXPECT_EQ(call("a.b.twice", R"({"data":"50%\"","_dscbstub":"f.g"})"), R"({"code":0,"data":"50%\""})");
    const std::string script
        = R"(try {f.g(JSON.parse(decodeURIComponent("{%22code%22:0,%22data%22:%2250%25%5C%22%22}")).data);)";
    EXPECT_EQ(scripts, (Texts{ script + "; } catch(e){};", script + "delete window.f.g; } catch(e){};" }));
    EXPECT_EQ(missed, Texts{});
}

TEST_F(NativeObjectsTest, WhatIsNotThereIsAnsweredWithMinusOne)
{
    objects.add(std::make_shared<Service>(), std::nullopt);
    const std::string nothing = R"({"code":-1,"data":""})";
    for (const char* name : { "gone.echo", ".x.echo", "echo.", "", "echo:", "dealloc" })
        EXPECT_EQ(call(name, "{}"), nothing) << name;
    // An asynchronous call needs an asynchronous method, and the other way round.
    EXPECT_EQ(call("echo", R"({"_dscbstub":"f"})"), nothing);
    EXPECT_EQ(call("twice", "{}"), nothing);
    EXPECT_EQ(missed, (Texts{ "", "echo:", "dealloc", "echo", "twice" }));
    objects.remove("");
    EXPECT_EQ(call("echo", "{}"), nothing);
}

} // namespace
} // namespace tq::test
