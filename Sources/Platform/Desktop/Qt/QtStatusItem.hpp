#pragma once

#include "Platform/Desktop/StatusItem.hpp"
#include "Platform/Foundation/MainLoop.hpp"

#include <memory>
#include <string>

namespace platform {

/// Status items in either kind of tray: the X server's, into which icons are embedded, and the notifier
/// service on the session's bus. Needs an application object with widgets.
class QtStatusItemService final : public StatusItemService {
  public:
    explicit QtStatusItemService(std::shared_ptr<MainLoop> mainLoop);
    std::unique_ptr<StatusItem> makeStatusItem(std::string title, StatusItemActions actions) override;

  private:
    std::shared_ptr<MainLoop> mainLoop_;
};

}  // namespace platform
