#include "../UIKit/UITextField.h"

#include "../UIKit/ShownText.h"
#include "QtText.h"
#include "UIViewNative.h"

#include <QLineEdit>

namespace tq {

namespace {
QLineEdit* editOf(const UIView& view) { return static_cast<QLineEdit*>(static_cast<QWidget*>(view.nativeHandle())); }
} // namespace

UITextField::UITextField(CGRect frame)
    : UIView(frame, std::make_unique<Native>(new QLineEdit))
{
}

UITextField::~UITextField() = default;

std::shared_ptr<UITextField> UITextField::initWithFrame(CGRect frame)
{
    return std::shared_ptr<UITextField>(new UITextField(frame));
}

std::string UITextField::text() const
{
    const auto* edit = editOf(*this);
    return edit ? edit->text().toStdString() : std::string();
}

void UITextField::setText(std::string_view text)
{
    if (auto* edit = editOf(*this))
        edit->setText(toQt(fieldText(text)));
}

} // namespace tq
