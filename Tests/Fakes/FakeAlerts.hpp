#pragma once

#include "Cobaltreel/Support/Alerts.hpp"

#include <functional>
#include <utility>
#include <vector>

namespace cobaltreel {

/// A user who answers alerts as a test says.
class FakeAlerts final : public AlertPresenter {
  public:
    /// Alerts wait for `answer`; otherwise the first button is chosen at once.
    bool holdsAnswers = false;
    /// Every alert presented so far.
    std::vector<Alert> alerts;

    void present(const Alert& alert, std::function<void(int)> answered) override {
        alerts.push_back(alert);
        waiting_.push_back(std::move(answered));
        if (!holdsAnswers) answer();
    }

    bool isWaiting() const { return !waiting_.empty(); }
    /// Chooses a button of every alert that waits.
    void answer(int button = 0) {
        for (const auto& answered : std::exchange(waiting_, {})) answered(button);
    }

  private:
    std::vector<std::function<void(int)>> waiting_;
};

}  // namespace cobaltreel
