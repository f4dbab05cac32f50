#pragma once

#include "GLibTypes.h"
#include "Signals.h"
#include "platform/UIKit/UIImage.h"

namespace tqclient {

/// The picture of the board that was captured last, and buttons that copy it to the clipboard and save it to a file.
class CapturePreview {
public:
    CapturePreview();

    GtkWidget* widget() const { return m_box; }
    void show(const tq::UIImage& image);

private:
    void copy();
    void save();
    void write(GFile* file);

    GtkWidget* m_box;
    GtkPicture* m_picture;
    GtkLabel* m_caption;
    GtkLabel* m_failure;
    UniqueObject<GdkTexture> m_texture;
    // The question where to save, while it is on the screen.
    UniqueObject<GtkNativeDialog> m_question;
    Signals m_signals;
};

} // namespace tqclient
