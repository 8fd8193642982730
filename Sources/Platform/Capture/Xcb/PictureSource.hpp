#pragma once

#include "Platform/Capture/CaptureStream.hpp"
#include "Platform/Capture/Xcb/FrameGrabber.hpp"
#include "Platform/Xcb/XcbConnection.hpp"

#include <optional>

namespace platform {

/// Codes of PlatformError("ScreenCapture") while capturing, beside `contentVanished` and `badConfiguration`.
enum ScreenCaptureError {
    noSuchContent = 3,
    serverLost = 5,
    serverLacks = 6,
};

/// Something that pictures are taken of. Lives on its stream's thread.
class PictureSource {
  public:
    virtual ~PictureSource() = default;
    /// Takes note of one event of the connection.
    virtual void handle(const xcb_generic_event_t& event) = 0;
    enum class Change { none, pointer, content };
    /// What of a picture now may differ from the last one: at most the pointer, or anything.
    virtual Change change() const = 0;
    /// Takes one. Absent when there is nothing new after all, or no memory free (then there still is a
    /// change). Throws PlatformError when the content is gone for good.
    virtual std::optional<GrabbedPicture> grab() = 0;
    /// The last picture was lost on its way: its content counts as changed until the next one.
    virtual void touch() = 0;
};

}  // namespace platform
