#include "../UIKit/UITextField.h"

#include "GLibPointers.h"
#include "UIViewNative.h"

#include <utility>

namespace tq {

namespace {

// What the toolkit lays out in one line without the user having to wait.
constexpr glong kMostShown = 1000;

std::string shortened(const std::string& text)
{
    const GCharPointer valid(g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())));
    if (g_utf8_strlen(valid.get(), -1) <= kMostShown)
        return valid.get();
    return { valid.get(), g_utf8_offset_to_pointer(valid.get(), kMostShown) };
}

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

std::string UITextField::text() const
{
    const std::string shown = gtk_editable_get_text(GTK_EDITABLE(nativeHandle()));
    return shown == m_shownText ? m_text : shown;
}

void UITextField::setText(std::string text)
{
    m_text = std::move(text);
    m_shownText = shortened(m_text);
    gtk_editable_set_text(GTK_EDITABLE(nativeHandle()), m_shownText.c_str());
    // As the toolkit has it: the field's own rules may have changed the text.
    m_shownText = gtk_editable_get_text(GTK_EDITABLE(nativeHandle()));
}

} // namespace tq
