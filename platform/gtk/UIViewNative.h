#pragma once

#include "../UIKit/UIView.h"
#include "GLibPointers.h"

#include <gtk/gtk.h>

namespace tq {

/// The widget behind a view.
struct UIView::Native {
    GObjectPointer<GtkWidget> widget;
};

} // namespace tq
