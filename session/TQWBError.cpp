#include "TQWhiteBoardLib/TQWBError.h"

#include "TQWhiteBoardLib/TQWBNaviCode.h"
#include "TQWhiteBoardLib/TQWBSessionCode.h"

namespace tq {

namespace {

TQWBErrorCategory categoryOf(NSUInteger code)
{
    switch (code) {
    case TQWBSessionCodeNotInitialized:
    case TQWBSessionCodeInvalidConfig:
    case TQWBSessionCodeNotInRoom:
        return TQWBErrorCategory::Usage;
    case TQWBNaviCodeInvalidUrl:
    case TQWBNaviCodeRequestFailed:
    case TQWBNaviCodeAnswerIncomplete:
    case TQWBSessionCodeRequestFailed:
    case TQWBSessionCodePlayRequestFailed:
        return TQWBErrorCategory::Network;
    case TQWBNaviCodeUnauthorized:
        return TQWBErrorCategory::Token;
    default:
        return TQWBErrorCategory::Service;
    }
}

} // namespace

std::string_view nameOf(TQWBErrorCategory category)
{
    switch (category) {
    case TQWBErrorCategory::Usage:
        return "usage";
    case TQWBErrorCategory::Network:
        return "network";
    case TQWBErrorCategory::Certificate:
        return "certificate";
    case TQWBErrorCategory::Token:
        return "token";
    case TQWBErrorCategory::Service:
        return "service";
    case TQWBErrorCategory::Page:
        return "page";
    case TQWBErrorCategory::Cancelled:
        return "cancelled";
    }
    return {};
}

TQWBError TQWBError::ofCode(NSUInteger code, const OptionalText& text)
{
    return { categoryOf(code), code, text.value_or("") };
}

} // namespace tq
