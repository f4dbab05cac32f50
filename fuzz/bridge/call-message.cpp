// The message of a call, and the name of the page's function in it.

#include "bridge/CallMessage.h"
#include "bridge/CallbackName.h"
#include "bridge/JSBUtil.h"
#include "fuzz/support/Fuzz.h"
#include "fuzz/support/Reference.h"

namespace tq::fuzz {
namespace {

void checkName(std::string_view name)
{
    if (!isCallable(name))
        return;
    constexpr std::string_view kCharacters = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz$_.";
    expect(name.find_first_not_of(kCharacters) == name.npos, "a callable name is of letters, digits and few others");
    expect(!name.empty() && name.back() != '.' && name.find("..") == name.npos, "every piece has a character");
    expect(name[0] != '.' && (name[0] < '0' || name[0] > '9'), "no name begins with a digit or a dot");
    expect(name != "delete" && !name.starts_with("new."), "no name begins with a reserved word");
    for (const std::string_view word : { "eval", "constructor", "setTimeout", "contentWindow", "__proto__" }) {
        for (auto at = name.find(word); at != name.npos; at = name.find(word, at + 1)) {
            const auto end = at + word.size();
            expect((at != 0 && name[at - 1] != '.') || (end != name.size() && name[end] != '.'),
                "no piece is a way to run a text");
        }
    }
}

} // namespace

void check(std::string_view text)
{
    checkName(text);
    // What a page sends is characters and ends at the first zero, never bytes in some encoding.
    if (!isPlainlyUTF8(text) || text.find('\0') != text.npos)
        return;
    // Ending with a blank it takes the longer way.
    const auto message = CallMessage::read(text);
    const auto other = CallMessage::read(std::string(text) + " ");
    expect(message.callbackName == other.callbackName, "the name is read the same by either way");
    expect(message.data.has_value() == other.data.has_value(), "the data is there by either way");
    expect(!message.data || areAlike(*message.data, *other.data), "the data is read the same by either way");
    expect(message.asksForMore == other.asksForMore, "the wish for more is read the same by either way");
    constexpr std::string_view kSecret = "0123";
    expect(!message.hasSecret && !CallMessage::readAny(text).hasSecret, "without a secret nobody has it");
    const auto secretly = CallMessage::readAny(text, kSecret);
    const auto plainly = CallMessage::readPlain(text, kSecret);
    expect(!plainly || plainly->hasSecret == secretly.hasSecret, "the secret is read the same by either way");
    expect(!secretly.hasSecret || text.find("_tqframe") != text.npos || text.find('\\') != text.npos,
        "the secret is where it belongs");
    if (message.callbackName)
        checkName(*message.callbackName);

    const auto [nameSpace, method] = JSBUtil::parseNamespace(text);
    expect(method.find('.') == method.npos, "a method's name has no dot");
    const auto joined = std::string(nameSpace) + (nameSpace.size() + method.size() < text.size() ? "." : "");
    expect(joined + std::string(method) == text, "a name is split without loss");
}

} // namespace tq::fuzz
