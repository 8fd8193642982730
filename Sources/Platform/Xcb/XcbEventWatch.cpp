#include "Platform/Xcb/XcbEventWatch.hpp"

#include <utility>

namespace platform {

XcbEventWatch::XcbEventWatch(XcbConnection connection, Filter matters, MainLoop& mainLoop,
                             std::function<void()> report)
    : connection_(std::move(connection)),
      matters_(std::move(matters)),
      report_(std::move(report)),
      watch_(mainLoop.watchReadable(xcb_get_file_descriptor(connection_.get()), [this] { takeEvents(); })),
      // Events that came with an earlier answer lie in the connection's queue and wake nobody.
      first_(mainLoop.scheduleOnce(0, [this] { takeEvents(); })) {}

void XcbEventWatch::takeEvents() {
    const auto alive = lifetime_.watch();
    while (const XcbEvent event{xcb_poll_for_event(connection_.get())}) {
        if (!matters_(connection_, *event)) continue;
        const auto report = report_;  // outlives this object if it destroys it
        report();
        if (!alive) return;
    }
    // The descriptor of a lost connection is readable for ever.
    if (connection_.isBroken()) watch_.reset();
}

}  // namespace platform
