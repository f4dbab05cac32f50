// A text that is to stand in a script.

#include "bridge/PercentEncoding.h"
#include "fuzz/support/Fuzz.h"
#include "fuzz/support/Reference.h"

namespace tq::fuzz {
namespace {

void check(std::string_view text)
{
    const auto encoded = percentEncoded(text);
    if (!isPlainlyUTF8(text)) {
        expect(encoded.empty(), "what is no UTF-8 is left out");
        return;
    }
    expect(decodeURIComponent(encoded) == text, "decoding gives the text back");
    expect(std::ranges::none_of(encoded,
               [](char character) {
                   return character == '"' || character == '\\' || static_cast<std::uint8_t>(character) < 0x20;
               }),
        "nothing ends or escapes the script's text");
}

} // namespace
} // namespace tq::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    tq::fuzz::check(tq::fuzz::textOf(data, size));
    return 0;
}
