#pragma once

#include "Platform/Desktop/WindowManager.hpp"

#include <QRect>
#include <QScreen>

namespace cobaltreel {

/// A screen in pixels of the desktop. The toolkit's points begin at the screen's first pixel, and each takes
/// several where the user has scaled the screen up.
inline QRect pixelsOf(const QScreen& screen) {
    return {screen.geometry().topLeft(),
            (QSizeF(screen.geometry().size()) * screen.devicePixelRatio()).toSize()};
}

/// A point of the screen, in the toolkit's points.
inline QPoint pointAt(const QScreen& screen, QPoint pixel) {
    const QPoint origin = screen.geometry().topLeft();
    return origin + ((QPointF(pixel) - origin) / screen.devicePixelRatio()).toPoint();
}

/// What panels and docks leave of a screen, in points. `manager` may be null.
inline QRect roomOf(const QScreen& screen, platform::WindowManager* manager) {
    if (!manager) return screen.availableGeometry();
    const QRect all = pixelsOf(screen);
    const platform::Rect rest =
        manager->workArea({static_cast<double>(all.x()), static_cast<double>(all.y()),
                           static_cast<double>(all.width()), static_cast<double>(all.height())});
    return {pointAt(screen, QPointF(rest.x, rest.y).toPoint()),
            (QSizeF(rest.w, rest.h) / screen.devicePixelRatio()).toSize()};
}

}  // namespace cobaltreel
