#pragma once

#include "Cobaltreel/Support/Alerts.hpp"

#include <QObject>
#include <deque>
#include <memory>

namespace cobaltreel {

class AlertContent;
class AppWindow;

/// Shows alerts in windows of their own, above all others and before any other window of the program can be
/// used. An alert that still waits for its answer when this ends is never answered. Main thread.
class AlertWindows final : public QObject, public AlertPresenter {
  public:
    AlertWindows();
    ~AlertWindows() override;

    void present(const Alert& alert, std::function<void(int button)> answered) override;

    /// The alert that is shown now; null when none is.
    AppWindow* window() const { return window_.get(); }

  private:
    void showNext();
    void finish();

    // Front: the one shown. Declared before the window, whose view refers to it.
    std::deque<std::unique_ptr<AlertContent>> waiting_;
    std::unique_ptr<AppWindow> window_;
};

}  // namespace cobaltreel
