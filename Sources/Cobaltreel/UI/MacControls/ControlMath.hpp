#pragma once

#include <QObject>

#include <QtQml/qqmlregistration.h>

namespace cobaltreel {

/// The arithmetic of the control kit. Lengths are in points; x counts from the left edge of the control,
/// also where the interface reads from right to left (`mirrored`).
class ControlMath : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_SINGLETON

  public:
    static constexpr double knobDiameter = 16;
    static constexpr double segmentPadding = 3;
    static constexpr double segmentSpacing = 3;

    /// Clamped to 0…1; 0 for a value that is not a number.
    Q_INVOKABLE static double unit(double value);
    /// Where `value` stands in the range, 0…1; 0 in a range of no length.
    Q_INVOKABLE static double fraction(double value, double lowerBound, double upperBound);
    Q_INVOKABLE static double clamped(double value, double lowerBound, double upperBound);

    /// The value under a pointer at `x` on a slider of this width.
    Q_INVOKABLE static double sliderValue(double x, double width, double lowerBound, double upperBound,
                                          bool mirrored);
    /// Left edge of the slider's knob.
    Q_INVOKABLE static double knobX(double fraction, double width, bool mirrored);

    /// The segment `by` places further on among `count`; with none selected (-1) the first or the last.
    Q_INVOKABLE static int movedIndex(int index, int by, int count);
    /// Left edge of a segment, counted from the leading end, on whole points.
    Q_INVOKABLE static double segmentX(int index, int count, double width, bool mirrored);
    Q_INVOKABLE static double segmentWidth(int index, int count, double width);
};

}  // namespace cobaltreel
