#pragma once

#include "../UIKit/UIColor.h"

#include <QColor>

namespace tq {

inline QColor toQt(UIColor color) { return QColor::fromRgbF(color.red, color.green, color.blue, color.alpha); }

} // namespace tq
