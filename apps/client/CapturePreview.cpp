#include "CapturePreview.h"

#include <string>

namespace tqclient {

CapturePreview::CapturePreview()
    : m_box(gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 12))
    , m_picture(GTK_PICTURE(gtk_picture_new()))
    , m_caption(GTK_LABEL(gtk_label_new(nullptr)))
{
    gtk_widget_add_css_class(m_box, "capture-preview");
    gtk_widget_set_visible(m_box, FALSE);
    gtk_widget_add_css_class(GTK_WIDGET(m_picture), "capture-picture");
    gtk_widget_set_size_request(GTK_WIDGET(m_picture), 112, 70);
    gtk_widget_set_valign(GTK_WIDGET(m_picture), GTK_ALIGN_CENTER);

    GtkWidget* column = gtk_box_new(GTK_ORIENTATION_VERTICAL, 6);
    gtk_widget_set_valign(column, GTK_ALIGN_CENTER);
    GtkWidget* button = gtk_button_new_with_mnemonic("Copy _picture");
    gtk_label_set_xalign(m_caption, 0);
    gtk_box_append(GTK_BOX(column), GTK_WIDGET(m_caption));
    gtk_box_append(GTK_BOX(column), button);
    gtk_box_append(GTK_BOX(m_box), GTK_WIDGET(m_picture));
    gtk_box_append(GTK_BOX(m_box), column);
    m_signals.connect(button, "clicked",
        G_CALLBACK(+[](GtkButton*, gpointer self) { static_cast<CapturePreview*>(self)->copy(); }), this);
}

void CapturePreview::show(const tq::UIImage& image)
{
    auto png = image.pngRepresentation();
    UniqueBytes bytes(g_bytes_new(png.data(), png.size()));
    m_texture.reset(gdk_texture_new_from_bytes(bytes.get(), nullptr));
    if (!m_texture)
        return;
    gtk_picture_set_paintable(m_picture, GDK_PAINTABLE(m_texture.get()));
    auto caption = "Captured, " + std::to_string(image.width()) + "×" + std::to_string(image.height());
    gtk_label_set_text(m_caption, caption.c_str());
    gtk_widget_set_visible(m_box, TRUE);
}

void CapturePreview::copy() { gdk_clipboard_set_texture(gtk_widget_get_clipboard(m_box), m_texture.get()); }

} // namespace tqclient
