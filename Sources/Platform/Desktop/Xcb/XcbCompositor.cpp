#include "Platform/Desktop/Xcb/XcbCompositor.hpp"

namespace platform {

bool XcbCompositor::isRunning() {
    const xcb_atom_t selection = connection_.atom("_NET_WM_CM_S0");
    const auto owner = connection_.reply(xcb_get_selection_owner_reply,
                                         xcb_get_selection_owner(connection_.get(), selection));
    return owner && owner->owner != XCB_NONE;
}

}  // namespace platform
