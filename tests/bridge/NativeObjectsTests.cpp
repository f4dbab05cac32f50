#include "TQWhiteBoardLib/NativeFunctions.h"
#include "tests/bridge/CallsWithoutPage.h"

#include <limits>

namespace tq::test {
namespace {

class NativeObjectsTest : public CallsWithoutPage {
protected:
    void SetUp() override
    {
        objects.add(nativeFunctions({
                        { "echo:", [](OptionalValue argument) { return argument; } },
                        { "keep::", [this](NSCompletion completion) { kept = std::move(completion); } },
                    }),
            "a");
    }

    NSCompletion kept;
};

TEST_F(NativeObjectsTest, APageThatAsksForMoreIsToldWhetherAndWhatWillCome)
{
    const std::string pending = R"({"code":-1,"data":"","pending":true})";
    const std::string missing = R"({"code":-1,"data":"","pending":false})";
    for (const char* message : { R"({"data":1,"_dscbstub":"f","_tq":1})", R"({ "_tq": 1.0, "_dscbstub": "f" })" }) {
        EXPECT_EQ(call("a.keep", message), pending) << message;
        EXPECT_EQ(call("a.gone", message), missing) << message;
    }
    EXPECT_EQ(call("a.echo", R"({"data":1,"_dscbstub":"f","_tq":1})"), R"({"code":0,"data":1,"complete":true})");
    EXPECT_EQ(call("a.echo", R"({"data":1,"_dscbstub":"f"})"), R"({"code":-1,"data":""})") << "as ever, if not asked";
    EXPECT_EQ(call("gone.keep", R"({"data":1,"_dscbstub":"f","_tq":1})"), missing);
    EXPECT_EQ(call("a.keep", R"({"_dscbstub":"f"})"), R"({"code":-1,"data":""})");
    EXPECT_EQ(call("a.echo", R"({"data":1,"_tq":1})"), R"({"code":0,"data":1})");

    call("a.keep", R"({"data":1,"_dscbstub":"f","_tq":1})");
    scripts.clear();
    kept(std::numeric_limits<double>::quiet_NaN(), Complete::No);
    EXPECT_EQ(scripts, Texts{ "try {f(JSON.parse(decodeURIComponent(\"{}\")).data,\"unreadable\");; } catch(e){};" });
}

TEST_F(NativeObjectsTest, ACompletionThatIsDroppedEndsItsCall)
{
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
            kept(result, Complete::No);
        const auto before = scripts.size();
        auto copy = kept;
        kept = nullptr;
        EXPECT_EQ(scripts.size(), before) << message << ": it is still held";
        copy = nullptr;
        EXPECT_EQ(scripts.size(), before + (ends ? 1 : 0)) << message;
        EXPECT_EQ(scripts.empty()       ? ""
                : scripts.back() == end ? "end"
                                        : "result",
            ends ? std::string("end") : "result");
    }
    call("a.keep", R"({"_dscbstub":"f"})");
    kept(1, Complete::Yes);
    scripts.clear();
    kept = nullptr;
    EXPECT_EQ(scripts, Texts{}) << "after the last result there is no other end";
}

class Listed : public NSObject {
public:
    static const NSClass& staticClass()
    {
        static const NSClass table("Listed", &NSObject::staticClass(), { { "echo:", &Listed::echo } });
        return table;
    }
    const NSClass& objectClass() const override { return staticClass(); }
    OptionalValue echo(OptionalValue argument) { return argument; }
};

TEST_F(NativeObjectsTest, ATableOfAnotherClassesMethodsIsRefused)
{
    class Other final : public NSObject {
        const NSClass& objectClass() const override { return Listed::staticClass(); }
    };
    objects.add(std::make_shared<Listed>(), "listed");
    objects.add(std::make_shared<Other>(), "other");
    EXPECT_EQ(call("listed.echo", R"({"data":1})"), R"({"code":0,"data":1})");
    EXPECT_EQ(call("other.echo", R"({"data":1})"), R"({"code":-1,"data":""})");
}

} // namespace
} // namespace tq::test
