#pragma once

#include "Platform/Capture/CaptureStream.hpp"
#include "Platform/Capture/Xcb/FrameGrabber.hpp"
#include "Platform/Xcb/XcbConnection.hpp"

#include <optional>

namespace platform {

/// Codes of PlatformError("ScreenCapture") while capturing, beside `contentVanished` and `badConfiguration`.
enum ScreenCaptureError {
    contentHidden = 3,
    serverLost = 5,
    serverLacks = 6,
};

/// Something that pictures are taken of. Lives on its stream's thread; the connection outlives it.
class CaptureSource {
  public:
    explicit CaptureSource(XcbConnection& connection) : connection_(connection) {}
    virtual ~CaptureSource() = default;
    CaptureSource(const CaptureSource&) = delete;
    CaptureSource& operator=(const CaptureSource&) = delete;

    /// Handles the events of the connection that have come so far.
    void handleWaitingEvents() {
        while (const XcbEvent event{xcb_poll_for_event(connection_.get())})
            if (event->response_type != 0) handle(*event);
    }
    enum class Change { none, pointer, content };
    /// What of a picture now may differ from the last one: at most the pointer, or anything.
    virtual Change change() const = 0;
    /// Takes one. Absent when there is nothing new after all, or no memory free (then there still is a
    /// change). Throws PlatformError when the content is gone for good.
    virtual std::optional<GrabbedPicture> grab() = 0;
    /// The last picture was lost on its way: its content counts as changed until the next one.
    virtual void touch() = 0;

  protected:
    virtual void handle(const xcb_generic_event_t& event) = 0;

    XcbConnection& connection_;
};

}  // namespace platform
