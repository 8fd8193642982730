#pragma once

#include "Platform/Capture/Xcb/RectList.hpp"

namespace platform {

/// Which part of a window's contents nobody has painted yet. The server fills contents that it makes anew
/// (for a window that is shown, redirected or resized) with what the screen showed at that place: other
/// windows, that is. Only what was painted since may be used.
///
/// Told in the order in which the server does things: it announces a new configuration, then moves over what
/// it keeps (which is reported like painting, though the source may have been unpainted), paints backgrounds,
/// and last tells what it exposed.
class UnpaintedArea {
  public:
    /// New contents of which only `painted` is known to be the window's own.
    void begin(const PixelRect& whole, const RectList& painted = {});
    /// Contents of a new size, into which the server moves over what it keeps.
    void resize(const PixelRect& whole);
    /// The box of the window's shape. Told after the server has done what follows from it, of which the first
    /// thing is to report all that the shape gained, whether anybody paints it or not.
    void setShape(const PixelRect& box);
    /// A window inside was shown: it owes a painting.
    void owe(const PixelRect& part);
    /// A window inside was moved, and its pixels with it.
    void move(const PixelRect& part, int dx, int dy);
    /// What the server does by itself to a new configuration is done.
    void settle();
    void paint(const PixelRect& part);

    /// Without overlaps.
    RectList rects() const;
    bool isSettled() const { return carried_.empty(); }

  private:
    void carry(const RectList& area);

    PixelRect whole_;
    PixelRect shape_;
    RectList unpainted_;
    RectList reported_;  // once outside the shape
    RectList carried_;   // what may be moved about unpainted, until it is settled
};

}  // namespace platform
