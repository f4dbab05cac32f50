// An answer of the conference service.

#include "fuzz/support/Fuzz.h"
#include "fuzz/support/Reference.h"
#include "platform/Foundation/NSJSONSerialization.h"
#include "session/ServiceAnswer.h"

#include <limits>

namespace tq::fuzz {

void check(std::string_view text)
{
    const ServiceAnswer answer{ OptionalText(text) };
    const auto value = NSJSONSerialization::JSONObjectWithData(text);
    const auto* map = value ? value->if_object() : nullptr;
    if (!map) {
        expect(!answer.code && !answer.desc && !answer.key, "what is no map is a success without anything else");
        return;
    }
    const auto* code = map->if_contains("code");
    if (code && code->is_int64() && code->get_int64())
        expect(answer.code != 0, "no failure is taken for a success");
    if (!code || code->is_null() || code->is_structured())
        expect(answer.code == 0, "no code is a success");
    constexpr auto kHalf = std::numeric_limits<NSUInteger>::max() / 2;
    expect((answer.failureCode() > kHalf) == (answer.code < 0), "the sign is carried into the word");
    expect(static_cast<std::int32_t>(answer.failureCode()) == answer.code, "the code is in the word's low half");

    const auto* desc = map->if_contains("desc");
    expect(
        answer.desc.has_value() == (desc != nullptr) && (!desc || areAlike(*answer.desc, *desc)), "desc is as it came");
    const auto* key = map->if_contains("key");
    expect(answer.key.has_value() == (key && !key->is_null()), "a key that is null is none");
}

} // namespace tq::fuzz
