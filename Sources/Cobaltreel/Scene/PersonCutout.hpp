#pragma once

#include "CobaltreelCore/PersonSegmenter.hpp"
#include "Platform/Imaging/Resampler.hpp"

#include <memory>

namespace cobaltreel {

/// The person in a camera's pictures, cut out of the background. One thread at a time.
class PersonCutout {
  public:
    /// `vision` must be there; it is first asked when the first frame comes.
    PersonCutout(PersonSegmenter::Quality quality, std::shared_ptr<platform::VisionService> vision)
        : segmenter_(quality, std::move(vision)) {}

    /// The person no larger than maxWidth × maxHeight and than the frame, with its aspect, in a bgra buffer;
    /// null while there is no mask. Finds the mask of `frame`.
    platform::PixelBufferRef picture(const platform::ConstPixelBufferRef& frame, int maxWidth, int maxHeight);

    /// Fills `target` (bgra) with the person, whose frame fills `to`, over a soft shadow of standard
    /// deviation `shadowRadius` pixels. False, and nothing drawn, while there is no mask. Finds the mask of
    /// `frame`.
    bool draw(const platform::ConstPixelBufferRef& frame, platform::PixelBuffer& target,
              const platform::Rect& to, double shadowRadius);

  private:
    PersonSegmenter segmenter_;
    platform::Resampler resampler_;
};

}  // namespace cobaltreel
