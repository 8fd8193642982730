#pragma once

#include "Platform/Imaging/Geometry.hpp"

#include <QColor>

namespace cobaltreel {

inline QColor qtColour(const platform::Colour& colour) {
    return QColor::fromRgbF(static_cast<float>(colour.red), static_cast<float>(colour.green),
                            static_cast<float>(colour.blue), static_cast<float>(colour.alpha));
}

}  // namespace cobaltreel
