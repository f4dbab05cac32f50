// A stored navigation answer, as whoever wrote the file has left it.

#include "fuzz/support/Fuzz.h"
#include "navigation/NaviEntry.h"
#include "platform/Foundation/NSJSONSerialization.h"
#include "platform/Foundation/NSNumberReading.h"

namespace tq::fuzz {
namespace {

void check(std::string_view text)
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

    const auto data = naviDataOfEntry(entry);
    const auto* answer = entry.if_contains("TQWB-navi-data");
    const auto* lease = answer ? memberOf(*answer, "iwbLeaseUri") : nullptr;
    const auto* conference = answer ? memberOf(*answer, "iwbConferenceUri") : nullptr;
    expect(data->iwbLeaseUri == textValue(lease), "the lease service's address is as stored");
    expect(data->iwbConferenceUri == textValue(conference), "the conference's address is as stored");
    const auto* code = answer ? memberOf(*answer, "code") : nullptr;
    if (!code || code->is_null() || code->is_structured())
        expect(data->code == 0, "no code is 0");
}

} // namespace
} // namespace tq::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    tq::fuzz::check(tq::fuzz::textOf(data, size));
    return 0;
}
