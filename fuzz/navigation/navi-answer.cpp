// A navigation server's answer: the status in the first line, the body after it. What is good is kept and read again;
// so is what the body says itself.

#include "TQWhiteBoardLib/TQWBNaviCode.h"
#include "fuzz/support/Fuzz.h"
#include "fuzz/support/Reference.h"
#include "navigation/NaviAnswer.h"
#include "navigation/NaviEntry.h"
#include "platform/Foundation/NSJSONSerialization.h"

#include <charconv>

namespace tq::fuzz {
namespace {

void checkKept(const boost::json::object& answer)
{
    const auto entry = naviEntry(answer, 1000);
    expect(!isNaviEntryStale(entry, 1000 + kNaviLifetimeSeconds), "what was kept is good for its time");
    expect(isNaviEntryStale(entry, 1001 + kNaviLifetimeSeconds), "what was kept is good for no longer");
    const auto text = NSJSONSerialization::dataWithJSONObject(entry);
    if (!text)
        return;
    const auto read = NSJSONSerialization::JSONObjectWithData(*text);
    expect(read && areAlike(*read, entry), "what is stored is read as it was");
    const auto data = naviDataOfEntry(entry);
    if (isNaviAnswerKept(answer))
        expect(!answer.at("iwbLeaseUri").is_null() && !answer.at("iwbConferenceUri").is_null(), "no null is kept");
    expect(data->iwbLeaseUri.has_value() == answer.at("iwbLeaseUri").is_string(), "an address is a text");
}

void checkFailure(const NaviAnswer& answer, std::string_view body, NSInteger status)
{
    expect(answer.body.has_value() == isPlainlyUTF8(body), "a failure has the body if that is text");
    expect(!answer.body || *answer.body == body, "a failure has the body as it came");
    expect(!answer.description.empty(), "a failure says something");
    expect((answer.code == TQWBNaviCodeAnswerIncomplete) == (status == 200), "only a 200 is incomplete");
    expect(answer.code != TQWBNaviCodeUnauthorized || status == 401 || status == 403, "a refusal has its status");
}

// The same as what is stored, as whoever wrote the file has left it.
void checkEntry(std::string_view text)
{
    const auto value = NSJSONSerialization::JSONObjectWithData(text);
    if (!value || !value->is_object())
        return;
    const auto& entry = value->get_object();
    constexpr std::int64_t kNow = 1'700'000'000;
    if (isNaviEntryStale(entry, kNow))
        expect(isNaviEntryStale(entry, kNow + 1), "an entry does not get younger");
    const auto* stored = entry.if_contains("TQWB-timestamp");
    if (!stored || stored->is_null() || stored->is_structured())
        expect(isNaviEntryStale(entry, kNow), "an entry without a time is too old");
    else if (stored->is_int64())
        expect(isNaviEntryStale(entry, kNow) == (stored->get_int64() < kNow - kNaviLifetimeSeconds),
            "an entry is as old as it says");
    naviDataOfEntry(entry);
}

} // namespace

void check(std::string_view input)
{
    const auto [line, rest] = firstLineAndRest(input);
    const auto body = rest.value_or("");
    checkEntry(body);
    NSInteger status = 0;
    std::from_chars(line.data(), line.data() + line.size(), status);
    const auto answer = NaviAnswer::read(OptionalText(body), status);
    if (answer.good) {
        expect(status == 200, "only a 200 is good");
        expect(answer.good->contains("iwbLeaseUri") && answer.good->contains("iwbConferenceUri"), "good is complete");
        checkKept(*answer.good);
    } else {
        checkFailure(answer, body, status);
    }
    const NSError error{ "NSURLErrorDomain", NSURLErrorTimedOut, std::string(line) };
    const auto none = NaviAnswer::read(std::nullopt, status, error);
    expect(!none.good && none.code == TQWBNaviCodeRequestFailed && !none.body && none.description == line,
        "no answer is a failure with the error's own text");
}

} // namespace tq::fuzz
