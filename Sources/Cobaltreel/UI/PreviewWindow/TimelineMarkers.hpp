#pragma once

#include "CobaltreelCore/Models.hpp"

#include <QObject>
#include <QString>
#include <QVariantList>
#include <optional>
#include <vector>

#include <QtQml/qqmlregistration.h>

namespace cobaltreel {

/// The markers of a recording as the preview's time line shows them. Times are seconds on the screen movie's
/// timeline. Main thread.
class TimelineMarkers : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("the preview's model has them")
    Q_PROPERTY(int count READ count NOTIFY changed FINAL)

  public:
    /// Shows those that lie in the first `duration` seconds of the screen movie, which begins at
    /// `screenFirst` of the host clock.
    void show(const std::vector<Marker>& markers, double screenFirst, double duration);
    int count() const { return static_cast<int>(shown_.size()); }

    /// What a line of `width` pixels can show: {"time", "fraction" of the line, "label" in the interface
    /// language}. Markers closer together than a pointer can tell are one.
    Q_INVOKABLE QVariantList placesIn(double width) const;
    /// The marker after a time, or before it.
    std::optional<double> next(double from, bool forward) const;

  Q_SIGNALS:
    void changed();

  private:
    struct Shown {
        double time;
        QString text;  // empty: the number stands for it
        int number;
    };
    std::vector<Shown> shown_;  // in ascending order
    double duration_ = 0;
};

}  // namespace cobaltreel
