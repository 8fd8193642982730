#pragma once

#include <QString>

namespace cobaltreel {

/// The texts of markers. Any thread.
namespace MarkerText {

/// Characters as UTF-16 counts them.
constexpr qsizetype maxLength = 200;

/// One line without control characters and without marks that turn the direction of what stands around it; a
/// longer text is cut between two visible characters and ends with an ellipsis.
QString cleaned(const QString& text);

}  // namespace MarkerText

}  // namespace cobaltreel
