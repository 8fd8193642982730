#include "Platform/Desktop/Xcb/XcbScreenAccess.hpp"

#include "Platform/Foundation/PlatformError.hpp"
#include "Platform/Xcb/XcbConnection.hpp"

namespace platform {

bool XcbScreenAccess::preflight() {
    try {
        const XcbConnection connection(displayName_);
        return connection.reply(xcb_get_image_reply,
                                xcb_get_image(connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, connection.root(),
                                              0, 0, 1, 1, ~0U)) != nullptr;
    } catch (const PlatformError&) {
        return false;
    }
}

}  // namespace platform
