#include "../UIKit/UITextField.h"

#include "../UIKit/ShownText.h"
#include "GLibPointers.h"
#include "UIViewNative.h"

namespace tq {

UITextField::UITextField(CGRect frame)
    : UIView(frame, std::make_unique<Native>(gtk_entry_new()))
{
}

UITextField::~UITextField() = default;

std::shared_ptr<UITextField> UITextField::initWithFrame(CGRect frame)
{
    return std::shared_ptr<UITextField>(new UITextField(frame));
}

std::string UITextField::text() const { return gtk_editable_get_text(GTK_EDITABLE(nativeHandle())); }

void UITextField::setText(std::string_view text)
{
    gtk_editable_set_text(GTK_EDITABLE(nativeHandle()), fieldText(text).c_str());
}

} // namespace tq
