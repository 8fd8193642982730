#pragma once

#include "Platform/Foundation/Lifetime.hpp"
#include "Platform/Foundation/MainLoop.hpp"
#include "Platform/Xcb/XcbConnection.hpp"

#include <functional>
#include <memory>

namespace platform {

/// Waits in the main loop for events of a connection, which it owns, and reports those that matter. Reports
/// nothing once destroyed. Main thread.
class XcbEventWatch {
  public:
    using Filter = std::function<bool(XcbConnection&, const xcb_generic_event_t&)>;

    /// `report` may destroy this object.
    XcbEventWatch(XcbConnection connection, Filter matters, MainLoop& mainLoop, std::function<void()> report);
    XcbEventWatch(const XcbEventWatch&) = delete;
    XcbEventWatch& operator=(const XcbEventWatch&) = delete;

  private:
    void takeEvents();

    XcbConnection connection_;
    Filter matters_;
    std::function<void()> report_;
    std::unique_ptr<Watch> watch_;
    std::unique_ptr<Timer> first_;
    Lifetime lifetime_;
};

}  // namespace platform
