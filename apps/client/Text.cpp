#include "Text.h"

#include "GLibTypes.h"

namespace tqclient {

std::string validUtf8(std::string_view text)
{
    if (text.empty())
        return {};
    UniqueChars valid(g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())));
    return valid.get();
}

std::string displayText(std::string_view text, std::size_t limit)
{
    bool isCut = text.size() > limit;
    if (isCut) {
        while (limit && (static_cast<unsigned char>(text[limit]) & 0xC0) == 0x80)
            --limit;
    }
    std::string line = validUtf8(text.substr(0, limit));
    for (char& character : line) {
        if (static_cast<unsigned char>(character) < 0x20 || character == 0x7F)
            character = ' ';
    }
    return isCut ? line + "…" : line;
}

std::string describeFailure(tq::NSUInteger code, const tq::OptionalText& text)
{
    auto number = std::to_string(code);
    return text && !text->empty() ? number + ": " + displayText(*text, 500) : number;
}

} // namespace tqclient
