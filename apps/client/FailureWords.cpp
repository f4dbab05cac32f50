#include "FailureWords.h"

#include "TQWhiteBoardLib/TQWBRoomCode.h"
#include "Translation.h"

#include <algorithm>
#include <iterator>

namespace tqclient {

using Category = tq::TQWBErrorCategory;

namespace {

// Of HTTP, and not what the page itself says.
bool isStatus(tq::NSUInteger code) { return code >= 400 && code < 600; }

std::string pageAdvice(tq::NSUInteger code)
{
    switch (code) {
    case tq::TQWBRoomCodePageLost:
        return _("The page has ended again and again. Enter the room again to go on.");
    case tq::TQWBRoomCodePageSilent:
    case tq::TQWBRoomCodeTimedOut:
        return _("The room's page does not come. Check the connection, then try again.");
    case tq::TQWBRoomCodePageUnreachable:
        return _(
            "The room's page cannot be reached. Try again in a while; if it stays so, tell whoever runs the service.");
    default:
        return isStatus(code) ? _("The server of the room's page refuses it. Try again in a while; if it stays so, "
                                  "tell whoever runs the service.")
                              : _("Enter the room again to go on.");
    }
}

} // namespace

std::string failureTitle(Operation operation)
{
    constexpr const char* kTitles[] = { N_("The room could not be joined"), N_("The recording could not be opened"),
        N_("The service does not know that you have left") };
    return _(kTitles[static_cast<std::size_t>(operation)]);
}

std::string endTitle(const tq::TQWBError& error)
{
    constexpr tq::NSUInteger kUnseen[] = { tq::TQWBRoomCodePageSilent, tq::TQWBRoomCodeTimedOut,
        tq::TQWBRoomCodePageUnreachable, tq::TQWBRoomCodePageUntrusted };
    if (error.code == tq::TQWBRoomCodePageLost)
        return _("The page has stopped working");
    if (isStatus(error.code) || std::ranges::find(kUnseen, error.code) != std::end(kUnseen))
        return _("The board cannot be shown");
    return _("The room has failed");
}

std::string failureAdvice(const tq::TQWBError& error)
{
    switch (error.category) {
    case Category::Usage:
        return _("Something is missing or out of range.");
    case Category::Network:
        return _("The service cannot be reached. Check the connection, then try again.");
    case Category::Certificate:
        return _("A server's certificate is not trusted. Check this computer's date, or ask whoever runs the service.");
    case Category::Token:
        return _("The token is refused. Ask for a new one.");
    case Category::Service:
        return error.code == tq::TQWBRoomCodeAnswerUnreadable
            ? _("Something else answers in the service's place. If this network wants its users to log in, do so "
                "first.")
            : _("The service refuses.");
    case Category::Page:
        return pageAdvice(error.code);
    case Category::Cancelled:
        break;
    }
    return {};
}

} // namespace tqclient
