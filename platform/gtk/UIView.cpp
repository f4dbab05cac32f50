#include "UIViewNative.h"

namespace tq {

UIView::UIView(CGRect frame, std::unique_ptr<Native> native)
    : m_frame(frame)
    , m_native(std::move(native))
{
}

UIView::~UIView() = default;

bool UIView::hidden() const { return !gtk_widget_get_visible(m_native->widget.get()); }

void UIView::setHidden(bool hidden) { gtk_widget_set_visible(m_native->widget.get(), !hidden); }

void* UIView::nativeHandle() const { return m_native->widget.get(); }

} // namespace tq
