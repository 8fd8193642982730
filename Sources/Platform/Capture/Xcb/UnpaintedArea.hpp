#pragma once

#include "Platform/Capture/Frames/RectList.hpp"

namespace platform {

/// Which part of a window's contents nobody has painted yet. The server fills new contents
/// (for a window that is shown, redirected or resized) with what the screen showed at that place: other
/// windows, that is. Only what was painted since may be used.
///
/// Told in the order in which the server does things. It announces a new configuration; then it reports as
/// painted all that the window gained, whether anybody paints it or not (for windows that are redirected
/// automatically), then what it moves over, though that may have been unpainted, and the backgrounds that it
/// paints; and last it tells what it exposed. A new shape is announced after all this.
class UnpaintedArea {
  public:
    /// New contents of which only `painted` is known to be the window's own.
    void begin(const PixelRect& whole, const RectList& painted = {});
    /// Contents of a new size, into which the server moves over what it keeps.
    void resize(const PixelRect& whole);
    /// The window's shape, without overlaps.
    void setShape(RectList shape);
    /// Something was moved, shown or hidden: what is unpainted stays so until it is settled.
    void unsettle();
    /// A window inside was shown: it owes a painting.
    void owe(const PixelRect& part);
    /// A window inside was moved, and its pixels with it.
    void move(const PixelRect& part, int dx, int dy);
    /// What the server does by itself to a new configuration is done.
    void settle();
    void paint(const PixelRect& part);

    /// Without overlaps.
    RectList rects() const;
    bool isSettled() const { return carried_.empty() && !isGainDue_; }

  private:
    void carry(const RectList& area);

    PixelRect whole_;
    PixelRect kept_;  // by the latest resize
    bool isGainDue_ = false;
    RectList shape_;
    RectList unpainted_;
    RectList reported_;  // once outside the shape
    RectList carried_;   // what may be moved about unpainted, until it is settled
};

}  // namespace platform
