#pragma once

#include "platform/Foundation/NSObject.h"

#include <memory>

namespace tq {

class DWKWebView;

/// The native object of the namespace "_dsb", which every bridge view has from the start.
class InternalApis final : public NSObject {
public:
    static const NSClass& staticClass();
    const NSClass& objectClass() const override { return staticClass(); }

    /// The view, held weakly; absent once it is gone.
    std::shared_ptr<DWKWebView> webview() const { return m_webview.lock(); }
    void setWebview(const std::shared_ptr<DWKWebView>& webview) { m_webview = webview; }

private:
    std::weak_ptr<DWKWebView> m_webview;
};

} // namespace tq
