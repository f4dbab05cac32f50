// What the page asks of the view itself, through the namespace "_dsb".

#include "InternalApis.h"
#include "NativeObjects.h"
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
    return m_javaScriptNamespaceInterfaces->hasMethod(args);
}

OptionalValue DWKWebView::closePage(OptionalValue)
{
    // A listener may set another one.
    if (const auto listener = m_javascriptCloseWindowListener)
        (*listener)();
    return std::nullopt;
}

OptionalValue DWKWebView::dsinit(OptionalValue)
{
    dispatchStartupQueue();
    return std::nullopt;
}

void DWKWebView::disableJavascriptDialogBlock(bool disable) { m_jsDialogBlock = !disable; }

} // namespace tq
