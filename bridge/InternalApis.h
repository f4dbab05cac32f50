#pragma once

#include "platform/Foundation/NSObject.h"

#include <cstdint>
#include <memory>

namespace tq {

class DWKWebView;

/// What a page can ask of its view, as `DWKWebView::onMessage` numbers it.
enum class InternalMessage : std::int32_t {
    HasNativeMethod = 0,
    ClosePage = 1,
    ReturnValue = 2,
    DSInit = 3,
    DisableJavascriptDialogBlock = 4,
};

/// The native object of the namespace "_dsb", which every bridge view has from the start. It hands everything to its
/// view, and answers nothing once that is gone.
class InternalApis final : public NSObject {
public:
    static const NSClass& staticClass();
    const NSClass& objectClass() const override { return staticClass(); }

    /// The view, held weakly; absent once it is gone.
    std::shared_ptr<DWKWebView> webview() const { return m_webview.lock(); }
    void setWebview(const std::shared_ptr<DWKWebView>& webview) { m_webview = webview; }

    OptionalValue hasNativeMethod(OptionalValue args);
    OptionalValue closePage(OptionalValue args);
    OptionalValue returnValue(OptionalValue args);
    OptionalValue dsinit(OptionalValue args);
    OptionalValue disableJavascriptDialogBlock(OptionalValue args);

private:
    OptionalValue send(OptionalValue args, InternalMessage message);

    std::weak_ptr<DWKWebView> m_webview;
};

} // namespace tq
