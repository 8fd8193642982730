#include "Cobaltreel/UI/PreviewWindow/TimelineMarkers.hpp"

#include "Cobaltreel/Support/Strings.hpp"
#include "Cobaltreel/UI/PreviewWindow/PreviewModel.hpp"

#include <QVariantMap>
#include <algorithm>

namespace cobaltreel {

namespace {

constexpr double leastDistance = 12;  // pixels
/// The position after going to a marker is its time but for rounding.
constexpr double sameTime = 0.02;  // seconds

/// A text may run either way, whatever the interface does.
QString label(const QString& name, double time) {
    const QString text = QStringLiteral(u"\u2068%1\u2069 · %2").arg(name, PreviewModel::mmss(time));
    return L::current == Language::he ? QChar(0x200f) + text : text;
}

}  // namespace

void TimelineMarkers::show(const std::vector<Marker>& markers, double screenFirst, double duration) {
    shown_.clear();
    duration_ = duration;
    int number = 0;
    for (const Marker& marker : markers) {
        ++number;
        const double time = marker.t - screenFirst;
        if (time >= 0 && time <= duration)
            shown_.push_back({time, QString::fromStdString(marker.text), number});
    }
    std::ranges::stable_sort(shown_, {}, &Shown::time);
    Q_EMIT changed();
}

QVariantList TimelineMarkers::placesIn(double width) const {
    QVariantList places;
    if (width <= 0 || duration_ <= 0) return places;
    for (std::size_t first = 0; first < shown_.size();) {
        const Shown& marker = shown_[first];
        std::size_t end = first + 1;
        while (end < shown_.size() && (shown_[end].time - marker.time) * width < leastDistance * duration_)
            ++end;
        const QString name = marker.text.isEmpty()
                                 ? S::marker() + QLatin1Char(' ') + QString::number(marker.number)
                                 : marker.text;
        places.append(
            QVariantMap{{QStringLiteral("time"), marker.time},
                        {QStringLiteral("fraction"), marker.time / duration_},
                        {QStringLiteral("label"),
                         label(S::markerAndOthers(name, static_cast<int>(end - first - 1)), marker.time)}});
        first = end;
    }
    return places;
}

std::optional<double> TimelineMarkers::next(double from, bool forward) const {
    if (forward) {
        const auto after = std::ranges::upper_bound(shown_, from + sameTime, {}, &Shown::time);
        return after == shown_.end() ? std::nullopt : std::optional(after->time);
    }
    const auto notBefore = std::ranges::lower_bound(shown_, from - sameTime, {}, &Shown::time);
    return notBefore == shown_.begin() ? std::nullopt : std::optional((notBefore - 1)->time);
}

}  // namespace cobaltreel
