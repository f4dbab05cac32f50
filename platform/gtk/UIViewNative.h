#pragma once

#include "../UIKit/UIView.h"
#include "GLibPointers.h"

#include <gtk/gtk.h>

namespace tq {

/// The widget behind a view.
struct UIView::Native {
    explicit Native(GtkWidget* widget)
        : widget(adopted(widget))
    {
    }

    const GObjectPointer<GtkWidget> widget;
};

} // namespace tq
