#include "tests/bridge/CallsWithoutPage.h"

#include <limits>
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
                { { "echo:", &Service::echo }, { "fail:", &Service::fail }, { "twice::", &Service::twice },
                    { "keep::", &Service::keep } });
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
        void keep(OptionalValue, NSCompletion completion) { kept = std::move(completion); }

        NSCompletion kept;
    };
    class Other final : public NSObject {
    public:
        // A table of other objects' methods.
        const NSClass& objectClass() const override { return Service::staticClass(); }
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

TEST_F(NativeObjectsTest, APageThatAsksForMoreIsToldWhetherAndWhatWillCome)
{
    const auto service = std::make_shared<Service>();
    objects.add(service, "a");
    const std::string pending = R"({"code":-1,"data":"","pending":true})";
    const std::string missing = R"({"code":-1,"data":"","pending":false})";
    for (const char* message : { R"({"data":1,"_dscbstub":"f","_tq":1})", R"({ "_tq": 1.0, "_dscbstub": "f" })" }) {
        EXPECT_EQ(call("a.keep", message), pending) << message;
        for (const char* name : { "a.echo", "a.gone" })
            EXPECT_EQ(call(name, message), missing) << message;
    }
    EXPECT_EQ(call("gone.keep", R"({"data":1,"_dscbstub":"f","_tq":1})"), missing);
    EXPECT_EQ(call("a.twice", R"({"data":1,"_dscbstub":"f","_tq":1})"), R"({"code":0,"data":1})");
    EXPECT_EQ(call("a.keep", R"({"_dscbstub":"f"})"), R"({"code":-1,"data":""})") << "as ever, if not asked";
    EXPECT_EQ(call("a.echo", R"({"data":1,"_tq":1})"), R"({"code":0,"data":1})");

    call("a.keep", R"({"data":1,"_dscbstub":"f","_tq":1})");
    scripts.clear();
    service->kept(std::numeric_limits<double>::quiet_NaN(), Complete::No);
    EXPECT_EQ(scripts, Texts{ "try {f(JSON.parse(decodeURIComponent(\"{}\")).data,\"unreadable\");; } catch(e){};" });
}

TEST_F(NativeObjectsTest, ACompletionThatIsDroppedEndsItsCall)
{
    const auto service = std::make_shared<Service>();
    objects.add(service, "a");
    const std::string end
        = "try {f(JSON.parse(decodeURIComponent(\"{%22code%22:0}\")).data);delete window.f; } catch(e){};";
    struct Row {
        const char* message;
        int results;
        bool ends;
    };
    const std::vector<Row> rows{ { R"({"_dscbstub":"f"})", 0, true }, { R"({"_dscbstub":"f"})", 1, false },
        { R"({"_dscbstub":"f","_tq":1})", 0, true }, { R"({"_dscbstub":"f","_tq":1})", 1, true } };
    for (const auto& [message, results, ends] : rows) {
        call("a.keep", message);
        scripts.clear();
        for (int result = 0; result < results; ++result)
            service->kept(result, Complete::No);
        const auto before = scripts.size();
        auto copy = service->kept;
        service->kept = nullptr;
        EXPECT_EQ(scripts.size(), before) << message << ": it is still held";
        copy = nullptr;
        EXPECT_EQ(scripts.size(), before + (ends ? 1 : 0)) << message;
        EXPECT_EQ(scripts.empty()       ? ""
                : scripts.back() == end ? "end"
                                        : "result",
            ends ? std::string("end") : "result");
    }
    call("a.keep", R"({"_dscbstub":"f"})");
    service->kept(1, Complete::Yes);
    scripts.clear();
    service->kept = nullptr;
    EXPECT_EQ(scripts, Texts{}) << "after the last result there is no other end";
}

TEST_F(NativeObjectsTest, ATableOfAnotherClassesMethodsIsRefused)
{
    objects.add(std::make_shared<Other>(), "a");
    EXPECT_EQ(call("a.echo", "{}"), R"({"code":-1,"data":""})");
}

} // namespace
} // namespace tq::test
