#include "UIViewNative.h"

namespace tq {

UIView::UIView(CGRect frame, std::unique_ptr<Native> native)
    : m_frame(frame)
    , m_native(std::move(native))
{
}

UIView::~UIView() = default;

bool UIView::hidden() const { return m_native->isHidden; }

void UIView::setHidden(bool hidden)
{
    m_native->isHidden = hidden;
    // One that is nowhere would become a window.
    if (m_native->widget && m_native->widget->parentWidget())
        m_native->widget->setVisible(!hidden);
}

void* UIView::nativeHandle() const { return m_native->widget; }

} // namespace tq
