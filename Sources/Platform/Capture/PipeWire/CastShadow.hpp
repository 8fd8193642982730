#pragma once

#include "Platform/Capture/PipeWire/CastPicture.hpp"

namespace platform::pipewire {

/// Leaves out the shadow that stands around a window in a compositor's pictures. It is recognised by the
/// alpha that compositors write even where the format has none; what cannot be alpha is not believed.
class CastShadow {
  public:
    /// Makes of a window's picture the part that is the window. Decided again when the picture's place or
    /// size changes, or when something is drawn where the shadow was.
    void cutOff(CastPicture& picture);

  private:
    PixelRect whole_;   // of the stream, that is decided for
    PixelRect window_;  // in it; empty while nothing has been found
};

}  // namespace platform::pipewire
