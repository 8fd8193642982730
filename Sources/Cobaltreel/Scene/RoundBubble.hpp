#pragma once

#include "Platform/Imaging/PixelBuffer.hpp"
#include "Platform/Imaging/Resampler.hpp"

namespace cobaltreel {

/// The camera in a circle with a ring over its edge. What does not change from picture to picture is drawn
/// once, so that each costs its scaling and one pass over the pixels. One thread at a time.
class RoundBubble {
  public:
    /// All in pixels of the buffers drawn into, origin at the top left.
    struct Shape {
        platform::Rect picture;  ///< what the middle of the camera's picture fills
        platform::Rect circle;   ///< shows the picture
        platform::Rect ring;     ///< the middle of the ring's line
        double ringWidth;
        double shadowRadius = 0;  ///< 0 for none

        /// A bubble that fills width × height pixels, the ring inside of it.
        static Shape filling(double width, double height, double ringWidth);
    };

    RoundBubble(int width, int height, const Shape& shape);

    int width() const { return bubbleMask_.width(); }
    int height() const { return bubbleMask_.height(); }

    /// Fills `target` (bgra, of the bubble's size) with the bubble; transparent around it. The part of
    /// `camera` that is shown is the largest in its middle with the shape's aspect. Null shows black.
    void draw(const platform::PixelBuffer* camera, platform::PixelBuffer& target,
              platform::Resampler& resampler) const;

  private:
    platform::Rect picture_;
    platform::PixelBuffer fixed_;       // ring and shadow; premultiplied
    platform::PixelBuffer bubbleMask_;  // how much of the picture remains beneath the ring; gray8
};

}  // namespace cobaltreel
