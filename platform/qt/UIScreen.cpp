#include "../UIKit/UIScreen.h"

#include <QGuiApplication>
#include <QScreen>

namespace tq {

std::optional<UIScreen> UIScreen::mainScreen()
{
    const auto* screen = qGuiApp ? QGuiApplication::primaryScreen() : nullptr;
    if (!screen)
        return std::nullopt;
    const QRectF area = screen->geometry();
    return UIScreen{ .bounds = { area.x(), area.y(), area.width(), area.height() } };
}

} // namespace tq
