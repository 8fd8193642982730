#pragma once

#include "Platform/Imaging/Geometry.hpp"

#include <QColor>

namespace cobaltreel {

inline QColor qtColor(const platform::Color& color) {
    return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                            static_cast<float>(color.blue), static_cast<float>(color.alpha));
}

}  // namespace cobaltreel
