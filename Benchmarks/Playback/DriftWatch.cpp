#include "DriftWatch.hpp"

#include <QImage>
#include <algorithm>
#include <cmath>

namespace cobaltreel::benchmarks {

std::optional<std::uint32_t> counterOf(const PictureSource* source) {
    const QImage picture = source ? source->picture() : QImage();
    if (picture.isNull()) return std::nullopt;
    const platform::PixelBuffer pixels(
        platform::PixelFormat::bgra, picture.width(), picture.height(),
        {platform::Plane{const_cast<uchar*>(picture.constBits()), static_cast<int>(picture.bytesPerLine()),
                         picture.width(), picture.height()}},
        nullptr);
    return rig::counterIn(pixels);
}

std::optional<double> DriftWatch::drift() const {
    const auto screen = counterOf(model_.screenPictures());
    const auto camera = counterOf(model_.cameraPictures());
    if (!screen || !camera) return std::nullopt;
    return static_cast<double>(*camera) / rig::CounterSession::cameraRate - session_.cameraLead -
           static_cast<double>(*screen) / session_.screenRate;
}

bool DriftWatch::hasArrived() const {
    const auto screen = counterOf(model_.screenPictures());
    const auto now = drift();
    return screen && now && std::abs(*screen / double(session_.screenRate) - model_.position()) <= 0.1 &&
           std::abs(*now) <= PreviewModel::bubbleDriftTolerance;
}

void DriftWatch::look() {
    if (const auto now = drift())
        drifts_.push_back(std::abs(*now));
    else
        ++unread_;
}

double DriftWatch::worst() const { return drifts_.empty() ? 0 : std::ranges::max(drifts_); }

double DriftWatch::share(double tolerance) const {
    const auto good = std::ranges::count_if(drifts_, [&](double d) { return d <= tolerance; });
    return drifts_.empty() ? 0 : static_cast<double>(good) / static_cast<double>(drifts_.size());
}

}  // namespace cobaltreel::benchmarks
