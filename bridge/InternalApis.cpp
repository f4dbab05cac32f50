#include "InternalApis.h"

#include "TQWhiteBoardLib/DWKWebView.h"

#include <utility>

namespace tq {

const NSClass& InternalApis::staticClass()
{
    static const auto table = NSClass::of<InternalApis>("InternalApis", &NSObject::staticClass(),
        {
            { "hasNativeMethod:", &InternalApis::hasNativeMethod },
            { "closePage:", &InternalApis::closePage },
            { "returnValue:", &InternalApis::returnValue },
            { "dsinit:", &InternalApis::dsinit },
            { "disableJavascriptDialogBlock:", &InternalApis::disableJavascriptDialogBlock },
        });
    return table;
}

OptionalValue InternalApis::hasNativeMethod(OptionalValue args)
{
    return send(std::move(args), InternalMessage::HasNativeMethod);
}

OptionalValue InternalApis::closePage(OptionalValue args) { return send(std::move(args), InternalMessage::ClosePage); }

OptionalValue InternalApis::returnValue(OptionalValue args)
{
    return send(std::move(args), InternalMessage::ReturnValue);
}

OptionalValue InternalApis::dsinit(OptionalValue args) { return send(std::move(args), InternalMessage::DSInit); }

OptionalValue InternalApis::disableJavascriptDialogBlock(OptionalValue args)
{
    return send(std::move(args), InternalMessage::DisableJavascriptDialogBlock);
}

OptionalValue InternalApis::send(OptionalValue args, InternalMessage message)
{
    const auto view = webview();
    return view ? view->onMessage(std::move(args), static_cast<std::int32_t>(message)) : std::nullopt;
}

} // namespace tq
