#pragma once

#include "GLibTypes.h"
#include "Signals.h"
#include "platform/UIKit/UIImage.h"

namespace tqclient {

/// The picture of the board that was captured last, and a button that copies it to the clipboard.
class CapturePreview {
public:
    CapturePreview();

    GtkWidget* widget() const { return m_box; }
    void show(const tq::UIImage& image);

private:
    void copy();

    GtkWidget* m_box;
    GtkPicture* m_picture;
    GtkLabel* m_caption;
    UniqueObject<GdkTexture> m_texture;
    Signals m_signals;
};

} // namespace tqclient
