#include "tests/support/Content.h"
#include "tests/support/PageTest.h"

#include <boost/json/array.hpp>
#include <boost/json/serialize.hpp>
#include <regex>
#include <set>

namespace tq::test {
namespace {

const std::filesystem::path kFolder = TQWB_ROOM_PAGE_FOLDER;

/// The texts of the local service's room page, in its own document.
class RoomPageTest : public PageTest {
protected:
    void SetUp() override
    {
        PageTest::SetUp();
        use(DWKWebView::initWithFrame({ 0, 0, 800, 600 }, nullptr));
        const auto document = contentOf(kFolder / "index.html");
        const auto body = document.substr(document.find("<body>"));
        load(body);
        const auto count = reports->values.size();
        view->evaluateJavaScript("import("
            + boost::json::serialize(
                boost::json::string(dataAddress("text/javascript", contentOf(kFolder / "texts.js"))))
            + ").then((module) => { window.texts = module; texts.fillIn(); report('imported'); },"
              " (error) => report(String(error)));");
        waitForReports(count + 1);
        ASSERT_EQ(reports->values.back(), boost::json::value("imported"));
    }
};

TEST_F(RoomPageTest, BothLanguagesSayTheSameThings)
{
    // What is put into a text has its place in every language, and no text is empty.
    EXPECT_EQ(ask("Object.entries(texts.texts).filter(([key, [en, zh]]) => {"
                  " const places = (text) => String(text.match(/\\{\\w+\\}/g));"
                  " return !en || !zh || places(en) !== places(zh); }).join()"),
        "");
    EXPECT_EQ(
        ask("[['zh-CN'], ['ZH', 'en'], ['fr', 'zh-TW'], ['en-GB', 'zh'], ['zhx'], []].map(texts.languageOf).join()"),
        "zh,zh,zh,en,en,en");
}

TEST_F(RoomPageTest, EveryTextThatIsAskedForIsThere)
{
    std::set<std::string> asked;
    const std::regex inDocument(R"(data-(?:text|label|tip)=\"(\w+)\")");
    const std::regex inScript(R"(\btext\((?:[^()\"]*\? )?\"(\w+)\"(?: : \"(\w+)\")?)");
    for (const auto& file : std::filesystem::directory_iterator(kFolder)) {
        const bool isScript = file.path().extension() == ".js" && file.path().filename() != "texts.js";
        if (!isScript && file.path().extension() != ".html")
            continue;
        const auto content = contentOf(file.path());
        const auto& pattern = isScript ? inScript : inDocument;
        for (std::sregex_iterator at(content.begin(), content.end(), pattern), end; at != end; ++at) {
            for (std::size_t group = 1; group < at->size(); ++group) {
                if ((*at)[group].matched)
                    asked.insert((*at)[group]);
            }
        }
    }
    EXPECT_GT(asked.size(), 40U);
    for (const auto& key : asked)
        EXPECT_EQ(ask("Object.hasOwn(texts.texts, '" + key + "')"), true) << key;
}

TEST_F(RoomPageTest, ControlsHaveNames)
{
    // What the script names later, by its state, is named in the script.
    EXPECT_EQ(
        ask("document.querySelectorAll('button, input, [role=toolbar], [role=group], [role=img], aside').length > 20"),
        true);
    EXPECT_EQ(ask("[...document.querySelectorAll('button, input, [role=toolbar], [role=group], [role=img], aside')]"
                  ".filter((element) => !element.getAttribute('aria-label')).map((element) => element.id).join()"),
        "record,play");
    // Who joins, what happens and why it ends is said without being asked for.
    EXPECT_EQ(ask("['notices', 'toast', 'state', 'cover'].map((id) => "
                  "document.getElementById(id).getAttribute('role')).join()"),
        "status,status,status,alert");
}

} // namespace
} // namespace tq::test
