#pragma once

#include "../UIKit/UIView.h"

#include <QPointer>
#include <QWidget>

namespace tq {

/// The widget behind a view, which goes before the view where the window is destroyed that it is in.
struct UIView::Native {
    explicit Native(QWidget* widget)
        : widget(widget)
    {
    }
    ~Native() { delete widget; }
    Native(const Native&) = delete;
    Native& operator=(const Native&) = delete;

    const QPointer<QWidget> widget;
    bool isHidden = false;
};

} // namespace tq
