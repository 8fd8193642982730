#include "Cobaltreel/UI/MacControls/TextDirection.hpp"

#include <QChar>
#include <algorithm>

namespace cobaltreel {

QString TextDirection::laidOut(const QString& text, bool rightToLeft) {
    constexpr QChar rightToLeftMark(0x200F), leftToRightMark(0x200E), times(0x00D7);
    const bool hasRightToLeftLetter = std::any_of(text.begin(), text.end(), [](QChar letter) {
        return letter.direction() == QChar::DirR || letter.direction() == QChar::DirAL;
    });
    if (!rightToLeft || !hasRightToLeftLetter) return text;
    QString laidOut = text.isRightToLeft() ? text : rightToLeftMark + text;
    // A size is written from left to right among letters of either direction.
    return laidOut.replace(times, QString(leftToRightMark) + times + leftToRightMark);
}

}  // namespace cobaltreel
