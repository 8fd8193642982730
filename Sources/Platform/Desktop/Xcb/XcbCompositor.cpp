#include "Platform/Desktop/Xcb/XcbCompositor.hpp"

#include "Platform/Xcb/XcbWindows.hpp"

namespace platform {

bool XcbCompositor::isRunning() {
    return selectionOwner(connection_, connection_.atom("_NET_WM_CM_S0")) != XCB_NONE;
}

}  // namespace platform
