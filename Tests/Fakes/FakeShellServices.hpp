#pragma once

#include "Platform/Desktop/Notifications.hpp"
#include "Platform/Desktop/Relauncher.hpp"
#include "Platform/Desktop/ScreenAccess.hpp"
#include "Platform/Desktop/StatusItem.hpp"
#include "Platform/Desktop/SystemSettings.hpp"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace platform {

/// A screen that may be captured when a test says so.
class FakeScreenAccess final : public ScreenAccess {
  public:
    bool granted = true;
    int requests = 0;

    bool preflight() override { return granted; }
    void request() override { ++requests; }
};

/// Remembers the pages that were opened.
class FakeSystemSettings final : public SystemSettings {
  public:
    std::vector<std::string> opened;

    bool isInstalled = true;

    bool open(const std::string& anchor) override {
        if (isInstalled) opened.push_back(anchor);
        return isInstalled;
    }
};

/// Remembers what was shown.
class FakeNotifications final : public Notifications {
  public:
    std::vector<std::string> shown;

    void show(const std::string&, const std::string& text) override { shown.push_back(text); }
};

/// Counts.
class FakeRelauncher final : public Relauncher {
  public:
    int relaunches = 0;

    void relaunchAfterExit() override { ++relaunches; }
};

/// A tray that a test puts up, takes away and clicks. One item.
class FakeStatusItems final : public StatusItemService {
  public:
    std::vector<StatusLabel> labels;  ///< every label set so far
    bool hasTray = true;
    std::optional<Rect> frame;
    bool isDrawnByDesktop = false;
    StatusItemActions actions;

    void setTray(bool there) {
        hasTray = there;
        actions.shownChanged();
    }
    std::unique_ptr<StatusItem> makeStatusItem(std::string, StatusItemActions with) override {
        actions = std::move(with);
        return std::make_unique<Item>(*this);
    }

  private:
    class Item final : public StatusItem {
      public:
        explicit Item(FakeStatusItems& tray) : tray_(tray) {}
        void setLabel(const StatusLabel& label) override { tray_.labels.push_back(label); }
        bool isShown() const override { return tray_.hasTray; }
        std::optional<Rect> frame() const override { return tray_.frame; }
        bool isDrawnByDesktop() const override { return tray_.isDrawnByDesktop; }

      private:
        FakeStatusItems& tray_;
    };
};

}  // namespace platform
