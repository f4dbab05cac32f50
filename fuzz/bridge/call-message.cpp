// The message of a call, and the name of the page's function in it.

#include "bridge/AsyncResult.h"
#include "bridge/CallMessage.h"
#include "bridge/JSBUtil.h"
#include "fuzz/support/Fuzz.h"
#include "fuzz/support/Reference.h"

namespace tq::fuzz {
namespace {

// Piece by piece: only what begins a name may not be a reserved word.
bool isPlainlyCallable(std::string_view name)
{
    const auto dot = name.find('.');
    if (dot == name.npos)
        return AsyncResult::isCallable(name);
    const auto rest = "x." + std::string(name.substr(dot + 1));
    return AsyncResult::isCallable(name.substr(0, dot)) && AsyncResult::isCallable(rest);
}

void checkName(std::string_view name)
{
    expect(AsyncResult::isCallable(name) == isPlainlyCallable(name), "a name is callable if all of its pieces are");
    if (!AsyncResult::isCallable(name))
        return;
    constexpr std::string_view kCharacters = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz$_.";
    expect(name.find_first_not_of(kCharacters) == name.npos, "a callable name is of letters, digits and few others");
    expect(!name.empty() && name.back() != '.' && name.find("..") == name.npos, "every piece has a character");
    expect(name[0] != '.' && (name[0] < '0' || name[0] > '9'), "no name begins with a digit or a dot");
    expect(name != "delete" && !name.starts_with("new."), "no name begins with a reserved word");
}

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
    if (message.callbackName)
        checkName(*message.callbackName);

    const auto [nameSpace, method] = JSBUtil::parseNamespace(text);
    expect(method.find('.') == method.npos, "a method's name has no dot");
    const auto joined = std::string(nameSpace) + (nameSpace.size() + method.size() < text.size() ? "." : "");
    expect(joined + std::string(method) == text, "a name is split without loss");
}

} // namespace
} // namespace tq::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    tq::fuzz::check(tq::fuzz::textOf(data, size));
    return 0;
}
