#pragma once

#include <QColor>
#include <QImage>
#include <QSize>
#include <QString>

namespace cobaltreel {

/// The product's own vector pictures, one color each, drawn on a square.
struct IconArt {
    IconArt() = delete;

    /// The picture `name` in one color over transparency, centred in `pixels`; empty for an unknown name.
    static QImage image(const QString& name, QSize pixels, const QColor& color);
};

}  // namespace cobaltreel
