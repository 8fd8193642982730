#pragma once

#include "Cobaltreel/UI/Windows/AppWindows.hpp"

#include <memory>

namespace cobaltreel {

/// The window that holds the interface language. One owner keeps it for the whole run; main thread.
class SettingsWindow {
  public:
    /// Opens the window, or brings it to the front while it is open.
    void open();
    bool isOpen() const { return window_ && window_->isVisible(); }
    AppWindow* window() const { return window_.get(); }

  private:
    std::unique_ptr<AppWindow> window_;
};

}  // namespace cobaltreel
