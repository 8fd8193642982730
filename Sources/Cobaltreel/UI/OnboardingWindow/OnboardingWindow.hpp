#pragma once

#include "Cobaltreel/Support/Permissions.hpp"
#include "Cobaltreel/UI/OnboardingWindow/OnboardingModel.hpp"
#include "Cobaltreel/UI/Windows/AppWindows.hpp"
#include "Platform/Foundation/MainLoop.hpp"

#include <memory>

namespace cobaltreel {

/// The window that walks the user through the permissions. While it is open they are looked at every two
/// seconds. One owner keeps it for the whole run; main thread.
class OnboardingWindow {
  public:
    /// Seconds.
    static constexpr double pollingInterval = 2;

    /// `permissions` must outlive the window.
    OnboardingWindow(Permissions& permissions, std::shared_ptr<platform::MainLoop> mainLoop);

    /// Opens the window, or brings it to the front while it is open.
    void open();
    bool isOpen() const { return window_ && window_->isVisible(); }
    AppWindow* window() const { return window_.get(); }

  private:
    Permissions& permissions_;
    OnboardingModel model_;
    std::shared_ptr<platform::MainLoop> mainLoop_;
    std::unique_ptr<platform::Timer> timer_;
    std::unique_ptr<AppWindow> window_;
};

}  // namespace cobaltreel
