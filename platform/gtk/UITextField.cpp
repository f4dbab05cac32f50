#include "../UIKit/UITextField.h"

#include "GLibPointers.h"
#include "UIViewNative.h"

namespace tq {

namespace {

// What the toolkit lays out in one line without the user having to wait.
constexpr glong kMostShown = 1000;

} // namespace

UITextField::UITextField(CGRect frame)
    : UIView(frame,
        std::make_unique<Native>(
            Native{ GObjectPointer<GtkWidget>(static_cast<GtkWidget*>(g_object_ref_sink(gtk_entry_new()))) }))
{
}

UITextField::~UITextField() = default;

std::shared_ptr<UITextField> UITextField::initWithFrame(CGRect frame)
{
    return std::shared_ptr<UITextField>(new UITextField(frame));
}

std::string UITextField::text() const { return gtk_editable_get_text(GTK_EDITABLE(nativeHandle())) + m_hiddenText; }

void UITextField::setText(std::string_view text)
{
    const GCharPointer valid(g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())));
    std::string shown = valid.get();
    m_hiddenText.clear();
    if (g_utf8_strlen(valid.get(), -1) > kMostShown) {
        const auto length = static_cast<std::size_t>(g_utf8_offset_to_pointer(valid.get(), kMostShown) - valid.get());
        m_hiddenText = shown.substr(length);
        shown.resize(length);
    }
    gtk_editable_set_text(GTK_EDITABLE(nativeHandle()), shown.c_str());
}

} // namespace tq
