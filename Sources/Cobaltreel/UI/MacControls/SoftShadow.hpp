#pragma once

#include <QColor>
#include <QImage>

namespace cobaltreel {

/// The blurred shadow of a picture.
struct SoftShadow {
    SoftShadow() = delete;

    /// The coverage (alpha) of `picture` blurred and filled with `color`, of the picture's own size: leave
    /// a margin of `radius` around what casts the shadow. `radius`, in pixels, is two standard deviations
    /// of the blur.
    static QImage cast(const QImage& picture, double radius, const QColor& color);
};

}  // namespace cobaltreel
