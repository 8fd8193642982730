#pragma once

#include "Platform/Capture/Frames/RectList.hpp"
#include "Platform/Capture/Xcb/DamageTracker.hpp"
#include "Platform/Capture/Xcb/NamedPixmap.hpp"
#include "Platform/Capture/Xcb/ShmBufferPool.hpp"
#include "Platform/Capture/Xcb/WindowStack.hpp"
#include "Platform/Imaging/PixelBuffer.hpp"

#include <cstdint>
#include <optional>

namespace platform {

/// A window whose full contents the server keeps while this lives, also what other windows cover.
///
/// The server fills contents that it did not have (what was covered when keeping began) with what the
/// screen showed there, then asks the program to paint. Until it has painted, that part is not to be used.
class RedirectedWindow {
  public:
    /// `covered`: what the windows that must not be seen cover of it, on the root.
    RedirectedWindow(XcbConnection& connection, const TopLevel& topLevel, const RectList& covered);
    ~RedirectedWindow();
    RedirectedWindow(const RedirectedWindow&) = delete;
    RedirectedWindow& operator=(const RedirectedWindow&) = delete;

    /// Takes note of an event; what it has changed of the window, on the root, absent when nothing.
    std::optional<PixelRect> handle(const xcb_generic_event_t& event);
    /// The window was moved, resized, shown or hidden; new contents are kept from then on.
    void update(const TopLevel& topLevel, const RectList& covered);

    /// Draws what `part` (on the root) shows of the window into a picture whose top left is at (`originX`,
    /// `originY`) of the root; what is not painted yet is left out. False when the contents are out of
    /// reach for the moment.
    bool draw(const PixelRect& part, const Plane& picture, int originX, int originY, ShmBufferPool& scratch,
              bool isTranslucent);
    /// Whether a part that is not painted yet lies inside `part` and may still be painted in time.
    bool isWaitingFor(const PixelRect& part) const;
    void clearDamage() { damage_.clear(); }

  private:
    bool nameContents();
    void distrust(const RectList& covered);
    void readShape();

    XcbConnection& connection_;
    TopLevel topLevel_;
    DamageTracker damage_;
    std::uint32_t redirection_ = 0;  // the request's sequence number: earlier paintings do not count
    int shapeEvent_ = -1;
    std::optional<NamedPixmap> contents_;
    int refusals_ = 0;    // to name the contents, in a row
    RectList shape_;      // relative to the outer top left
    RectList unpainted_;  // the same
    double distrustedAt_ = 0;
};

/// A window's bounding shape relative to its outer top left.
RectList boundingShape(const XcbConnection& connection, const TopLevel& topLevel);

}  // namespace platform
