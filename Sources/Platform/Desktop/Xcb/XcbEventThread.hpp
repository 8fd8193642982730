#pragma once

#include "Platform/Desktop/Xcb/XcbConnection.hpp"
#include "Platform/Foundation/MainLoop.hpp"
#include "Platform/Foundation/NamedThread.hpp"
#include "Platform/Foundation/UniqueFd.hpp"

#include <functional>
#include <memory>
#include <string>

namespace platform {

/// Waits on a thread of its own for events of a connection, which is its alone from then on, and reports
/// those that matter on the main thread. After it has been destroyed nothing is reported any more.
class XcbEventThread {
  public:
    using Filter = std::function<bool(XcbConnection&, const xcb_generic_event_t&)>;

    /// `matters` runs on that thread and must not throw; `report` runs on the main thread and may destroy
    /// this object. Throws PlatformError when the thread cannot be woken.
    XcbEventThread(XcbConnection connection, const std::string& name, Filter matters,
                   std::shared_ptr<MainLoop> mainLoop, std::function<void()> report);
    ~XcbEventThread();
    XcbEventThread(const XcbEventThread&) = delete;
    XcbEventThread& operator=(const XcbEventThread&) = delete;

  private:
    void watch();
    void tell();

    XcbConnection connection_;
    Filter matters_;
    std::shared_ptr<MainLoop> mainLoop_;
    std::shared_ptr<std::function<void()>> report_;
    const std::weak_ptr<std::function<void()>> alive_{report_};
    UniqueFd wake_;
    NamedThread thread_;
};

}  // namespace platform
