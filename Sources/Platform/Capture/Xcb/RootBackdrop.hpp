#pragma once

#include "Platform/Capture/Xcb/SharedFrames.hpp"
#include "Platform/Desktop/Xcb/PixelRect.hpp"
#include "Platform/Imaging/PixelBuffer.hpp"

namespace platform {

/// Draws the root window's background, as the program that set it announced it, into a part of a picture
/// whose top left is at (`originX`, `originY`) of the root; black when nobody did.
void drawRootBackdrop(XcbConnection& connection, const PixelRect& part, const Plane& picture, int originX,
                      int originY, SharedFrames& scratch);

}  // namespace platform
