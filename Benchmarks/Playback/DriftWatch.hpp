#pragma once

#include "Cobaltreel/UI/PreviewWindow/PreviewModel.hpp"
#include "Rig/CounterSession.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace cobaltreel::benchmarks {

/// The number in the picture that is on screen; absent when it cannot be read.
std::optional<std::uint32_t> counterOf(const PictureSource* source);

/// How far the camera's picture is from the screen's, by the numbers in them.
class DriftWatch {
  public:
    DriftWatch(const PreviewModel& model, const rig::CounterSession& session)
        : model_(model), session_(session) {}

    /// Whether the screen shows the time where the model is, and the camera with it.
    bool hasArrived() const;
    /// Compares the two pictures on screen.
    void look();

    double worst() const;  ///< seconds
    std::size_t looks() const { return drifts_.size(); }
    std::size_t unread() const { return unread_; }
    /// The share of looks that were at most `tolerance` seconds off.
    double share(double tolerance) const;

  private:
    std::optional<double> drift() const;

    const PreviewModel& model_;
    const rig::CounterSession& session_;
    std::vector<double> drifts_;
    std::size_t unread_ = 0;
};

}  // namespace cobaltreel::benchmarks
