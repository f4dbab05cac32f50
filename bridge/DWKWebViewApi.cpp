// What the page asks of the view itself, through the namespace "_dsb".

#include "InternalApis.h"
#include "JSBUtil.h"
#include "TQWhiteBoardLib/DWKWebView.h"
#include "platform/Foundation/NSNumberReading.h"

#include <utility>

namespace tq {

OptionalValue DWKWebView::onMessage(OptionalValue args, std::int32_t type)
{
    switch (static_cast<InternalMessage>(type)) {
    case InternalMessage::HasNativeMethod:
        return boost::json::value(hasNativeMethod(args) ? 1 : 0);
    case InternalMessage::ClosePage:
        return closePage(std::move(args));
    case InternalMessage::ReturnValue:
        return returnValue(std::move(args));
    case InternalMessage::DSInit:
        return dsinit(std::move(args));
    case InternalMessage::DisableJavascriptDialogBlock:
        disableJavascriptDialogBlock(boolValue(memberOf(args, "disable")));
        return std::nullopt;
    }
    return std::nullopt;
}

bool DWKWebView::hasNativeMethod(const OptionalValue& args) const
{
    const auto name = textValue(memberOf(args, "name"));
    const auto kind = textValue(memberOf(args, "type"));
    if (!name || !kind)
        return false;
    const auto [nameSpace, method] = JSBUtil::parseNamespace(JSBUtil::trimmed(*name));
    const auto object = objectForNamespace(nameSpace);
    if (!object)
        return false;
    const auto candidates = object->objectClass().candidates(method);
    const auto type = JSBUtil::trimmed(*kind);
    if (type == "all")
        return candidates.sync || candidates.async;
    return (type == "asyn" && candidates.async) || (type == "syn" && candidates.sync);
}

OptionalValue DWKWebView::closePage(OptionalValue)
{
    // A listener may set another one.
    if (const auto listener = m_javascriptCloseWindowListener)
        listener();
    return std::nullopt;
}

OptionalValue DWKWebView::dsinit(OptionalValue)
{
    dispatchStartupQueue();
    return std::nullopt;
}

void DWKWebView::disableJavascriptDialogBlock(bool disable) { m_jsDialogBlock = !disable; }

} // namespace tq
