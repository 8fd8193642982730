#include "Cobaltreel/UI/MacControls/TextDirection.hpp"

#include <QChar>
#include <algorithm>

namespace cobaltreel {

QString TextDirection::laidOut(const QString& text, bool rightToLeft) {
    constexpr QChar rightToLeftMark(0x200F);
    const bool hasRightToLeftLetter = std::any_of(text.begin(), text.end(), [](QChar letter) {
        return letter.direction() == QChar::DirR || letter.direction() == QChar::DirAL;
    });
    return rightToLeft && hasRightToLeftLetter && !text.isRightToLeft() ? rightToLeftMark + text : text;
}

}  // namespace cobaltreel
