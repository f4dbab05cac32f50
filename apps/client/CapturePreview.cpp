#include "CapturePreview.h"

#include "Accessible.h"
#include "Translation.h"

#include <string>

namespace tqclient {

CapturePreview::CapturePreview()
    : m_box(gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 12))
    , m_picture(GTK_PICTURE(gtk_picture_new()))
    , m_caption(GTK_LABEL(gtk_label_new(nullptr)))
    , m_failure(GTK_LABEL(gtk_label_new(nullptr)))
{
    gtk_widget_add_css_class(m_box, "capture-preview");
    gtk_widget_set_visible(m_box, FALSE);
    gtk_widget_add_css_class(GTK_WIDGET(m_picture), "capture-picture");
    setAccessibleName(GTK_WIDGET(m_picture), _("The captured board"));
    gtk_widget_set_size_request(GTK_WIDGET(m_picture), 112, 70);
    gtk_widget_set_valign(GTK_WIDGET(m_picture), GTK_ALIGN_CENTER);

    GtkWidget* column = gtk_box_new(GTK_ORIENTATION_VERTICAL, 6);
    gtk_widget_set_valign(column, GTK_ALIGN_CENTER);
    GtkWidget* buttons = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 6);
    GtkWidget* copyButton = gtk_button_new_with_label(_("Copy"));
    GtkWidget* saveButton = gtk_button_new_with_label(_("Save…"));
    gtk_box_append(GTK_BOX(buttons), copyButton);
    gtk_box_append(GTK_BOX(buttons), saveButton);
    gtk_label_set_xalign(m_failure, 0);
    gtk_label_set_wrap(m_failure, TRUE);
    gtk_widget_add_css_class(GTK_WIDGET(m_failure), "form-hint");
    gtk_label_set_xalign(m_caption, 0);
    gtk_box_append(GTK_BOX(column), GTK_WIDGET(m_caption));
    gtk_box_append(GTK_BOX(column), buttons);
    gtk_box_append(GTK_BOX(column), GTK_WIDGET(m_failure));
    gtk_box_append(GTK_BOX(m_box), GTK_WIDGET(m_picture));
    gtk_box_append(GTK_BOX(m_box), column);
    m_signals.connect(copyButton, "clicked",
        G_CALLBACK(+[](GtkButton*, gpointer self) { static_cast<CapturePreview*>(self)->copy(); }), this);
    m_signals.connect(saveButton, "clicked",
        G_CALLBACK(+[](GtkButton*, gpointer self) { static_cast<CapturePreview*>(self)->save(); }), this);
}

void CapturePreview::show(const tq::UIImage& image)
{
    auto png = image.pngRepresentation();
    UniqueBytes bytes(g_bytes_new(png.data(), png.size()));
    m_texture.reset(gdk_texture_new_from_bytes(bytes.get(), nullptr));
    if (!m_texture)
        return;
    gtk_picture_set_paintable(m_picture, GDK_PAINTABLE(m_texture.get()));
    auto caption = formatted(_("Captured, %d×%d"), static_cast<int>(image.width()), static_cast<int>(image.height()));
    gtk_label_set_text(m_caption, caption.c_str());
    gtk_widget_set_visible(GTK_WIDGET(m_failure), FALSE);
    gtk_widget_set_visible(m_box, TRUE);
}

void CapturePreview::copy() { gdk_clipboard_set_texture(gtk_widget_get_clipboard(m_box), m_texture.get()); }

void CapturePreview::save()
{
    auto* window = GTK_WINDOW(gtk_widget_get_root(m_box));
    auto* chooser = gtk_file_chooser_native_new(
        _("Save the picture"), window, GTK_FILE_CHOOSER_ACTION_SAVE, _("_Save"), _("_Cancel"));
    gtk_file_chooser_set_current_name(GTK_FILE_CHOOSER(chooser), _("whiteboard.png"));
    m_question.reset(GTK_NATIVE_DIALOG(chooser));
    gtk_native_dialog_set_modal(m_question.get(), TRUE);
    auto answered = +[](GtkNativeDialog* dialog, int response, gpointer self) {
        UniqueObject<GFile> file(gtk_file_chooser_get_file(GTK_FILE_CHOOSER(dialog)));
        if (response == GTK_RESPONSE_ACCEPT && file)
            static_cast<CapturePreview*>(self)->write(file.get());
    };
    g_signal_connect(chooser, "response", G_CALLBACK(answered), this);
    gtk_native_dialog_show(m_question.get());
}

void CapturePreview::write(GFile* file)
{
    UniqueBytes png(gdk_texture_save_to_png_bytes(m_texture.get()));
    gsize size = 0;
    const auto* data = static_cast<const char*>(g_bytes_get_data(png.get(), &size));
    GError* failure = nullptr;
    bool isWritten = g_file_replace_contents(
        file, data, size, nullptr, FALSE, G_FILE_CREATE_REPLACE_DESTINATION, nullptr, nullptr, &failure);
    UniqueError error(failure);
    gtk_label_set_text(m_failure, error ? error->message : "");
    gtk_widget_set_visible(GTK_WIDGET(m_failure), !isWritten);
}

} // namespace tqclient
